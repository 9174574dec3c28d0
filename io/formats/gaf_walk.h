#pragma once

#include <cstdint>
#include <map>
#include <unordered_map>

#include "io/formats/gaf.h"
#include "io/formats/gaf_format.h"
#include "io/formats/index_sets.h"

namespace orb::io {

/// Bytes [begin, end) of a file.
struct ByteRange {
    std::size_t begin = 0;
    std::size_t end = 0;

    bool intersects(std::size_t offset, std::size_t length) const {
        return offset < end && begin < offset + length;
    }
};

/// Bytes that a frame is made of.
struct GafPiece {
    std::size_t offset = 0;
    std::size_t length = 0;
    /// 0 for bytes that are no pixels but say where they are.
    std::size_t pixelsPerByte = 0;
    /// The transparency indices of the frame and of those that it is a subframe of.
    IndexSets::Id seeThrough = 0;
};

/// Visits the pieces of the frames of entries, those of each frame once for each set of
/// transparency indices that it is shown with. `visit(piece)` answers whether the piece is of
/// interest. Rows outside `wanted` are passed over.
template <typename Visit>
class GafWalk {
public:
    GafWalk(const GafDirectory& directory, IndexSets& sets, ByteRange wanted, Visit visit)
        : directory_(directory),
          sets_(sets),
          wanted_(wanted),
          visit_(std::move(visit)),
          workLeft_(directory.file().size() * kGafWorkPerByte + kGafWorkBase) {}

    /// Whether anything in the entry is of interest, told by a visit now or before.
    bool walkEntry(std::size_t index) {
        bool isOfInterest = false;
        ByteCursor links(directory_.frameLinks(index), kGafTooSmall);
        while (links.remaining() > 0) {
            isOfInterest |= walkFrame(links.u32(), 0, 0);
            links.skip(4);
        }
        return isOfInterest;
    }

    /// Of all data seen so far.
    std::uint64_t pixelCount() const {
        std::uint64_t count = 0;
        for (const auto& [offset, pixels] : pixelsAt_) count += pixels;
        return count;
    }

private:
    void charge(std::size_t bytes) {
        if (bytes > workLeft_) throw std::runtime_error(kGafTooSmall);
        workLeft_ -= bytes;
    }

    bool walkFrame(std::uint32_t offset, IndexSets::Id parents, int depth) {
        if (depth > kMaxGafNesting) throw std::runtime_error(kGafTooSmall);
        charge(kGafSubframeLinkSize);
        const GafRecord record = directory_.record(offset);
        const IndexSets::Id seeThrough = sets_.with(parents, record.transparencyIndex);
        const std::uint64_t key = std::uint64_t{offset} << 16 | seeThrough;
        if (const auto known = known_.find(key); known != known_.end()) return known->second;

        charge(kGafFrameRecordSize);
        bool isOfInterest = visit_(GafPiece{offset, kGafFrameRecordSize});
        if (record.subframeCount > 0)
            isOfInterest |= walkSubframes(record, seeThrough, depth + 1);
        else if (record.pixelCount() > 0)
            isOfInterest |= walkData(record, seeThrough);
        known_.emplace(key, isOfInterest);
        return isOfInterest;
    }

    bool walkSubframes(const GafRecord& record, IndexSets::Id seeThrough, int depth) {
        const std::size_t size = record.subframeCount * kGafSubframeLinkSize;
        ByteCursor links(directory_.file().view(record.dataOffset, size), kGafTooSmall);
        bool isOfInterest = visit_(GafPiece{record.dataOffset, size});
        while (links.remaining() > 0) isOfInterest |= walkFrame(links.u32(), seeThrough, depth);
        return isOfInterest;
    }

    bool walkData(const GafRecord& record, IndexSets::Id seeThrough) {
        std::uint64_t& known = pixelsAt_[record.dataOffset];
        known = std::max(known, record.pixelCount());
        if (record.isCompressed) return walkRows(record, seeThrough);
        const auto size = static_cast<std::size_t>(record.pixelCount());
        directory_.file().view(record.dataOffset, size);
        charge(size);
        return visit_(GafPiece{record.dataOffset, size, 1, seeThrough});
    }

    bool walkRows(const GafRecord& record, IndexSets::Id seeThrough) {
        bool isOfInterest = false;
        ByteCursor cursor = directory_.file();
        cursor.seek(record.dataOffset);
        for (std::size_t y = 0; y < record.height; ++y) {
            const std::size_t start = cursor.position();
            const ByteView row = cursor.take(cursor.u16());
            const std::size_t size = cursor.position() - start;
            charge(size);
            if (!wanted_.intersects(start, size)) continue;
            isOfInterest |= visit_(GafPiece{start, kGafRowHeadSize});
            isOfInterest |= walkRow(row, record.width, seeThrough);
        }
        return isOfInterest;
    }

    bool walkRow(ByteView row, std::size_t width, IndexSets::Id seeThrough) {
        bool isOfInterest = false;
        forEachGafCode(row, width, [&](const GafCode& code) {
            isOfInterest |= visit_(GafPiece{offsetOf(code.code), 1});
            if (!code.pixels.empty())
                isOfInterest |= visit_(GafPiece{offsetOf(code.pixels), code.pixels.size(),
                                                code.isRepeat ? code.pixelCount : 1, seeThrough});
        });
        return isOfInterest;
    }

    std::size_t offsetOf(ByteView part) const {
        return static_cast<std::size_t>(part.data() - directory_.file().view(0, 0).data());
    }

    const GafDirectory& directory_;
    IndexSets& sets_;
    ByteRange wanted_;
    Visit visit_;
    std::uint64_t workLeft_;
    /// By record offset and set: whether the frame is of interest.
    std::unordered_map<std::uint64_t, bool> known_;
    /// The largest picture that data at an offset make.
    std::map<std::uint32_t, std::uint64_t> pixelsAt_;
};

}  // namespace orb::io
