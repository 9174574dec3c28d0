#include "io/formats/gaf_format.h"

#include "io/formats/color.h"

namespace orb::io {

GafDirectory::GafDirectory(ByteView bytes) : file_(bytes, kGafTooSmall) {
    if (file_.u32() != kGafVersion) throw std::runtime_error("Invalid GAF version");
    entryCount_ = file_.u32();
    // Entries of a sound file do not overlap: else a small file could name millions of them.
    file_.seek(kGafHeaderSize);
    file_.requireArray(kGafHeaderSize, entryCount_, kGafEntryLinkSize + kGafEntryHeadSize);
}

std::size_t GafDirectory::entryOffset(std::size_t index) const {
    if (index >= entryCount_) throw std::runtime_error(kGafTooSmall);
    ByteCursor link = file_;
    link.seek(kGafHeaderSize + index * kGafEntryLinkSize);
    return link.u32();
}

std::string GafDirectory::entryName(std::size_t index) const {
    constexpr std::size_t kNameAt = kGafEntryHeadSize - kGafNameSize;
    const ByteView head = file_.view(entryOffset(index), kGafEntryHeadSize);
    return std::string(ByteCursor(head, kGafTooSmall).cString(kNameAt));
}

ByteView GafDirectory::frameLinks(std::size_t index) const {
    ByteCursor entry = file_;
    entry.seek(entryOffset(index));
    const std::uint16_t frameCount = entry.u16();
    return file_.view(entryOffset(index) + kGafEntryHeadSize, frameCount * kGafFrameLinkSize);
}

GafRecord GafDirectory::record(std::size_t offset) const {
    ByteCursor fields(file_.view(offset, kGafFrameRecordSize), kGafTooSmall);
    GafRecord record;
    record.width = fields.u16();
    record.height = fields.u16();
    record.originX = fields.i16();
    record.originY = fields.i16();
    record.transparencyIndex = fields.u8();
    record.isCompressed = fields.u8() != 0;
    record.subframeCount = fields.u16();
    fields.skip(4);
    record.dataOffset = fields.u32();
    if (record.pixelCount() > kMaxImagePixels) throw std::runtime_error(kGafTooSmall);
    return record;
}

}  // namespace orb::io
