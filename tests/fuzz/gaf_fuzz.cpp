#include "fuzzing.h"
#include "io/formats/gaf.h"
#include "model/png_picture.h"

// An animation file: read as a whole and entry by entry, and written in both encodings.

namespace orb::fuzz {
namespace {

bool areSame(const io::GafEntry& a, const io::GafEntry& b) {
    return a.name == b.name &&
           std::ranges::equal(
               a.frames, b.frames, [](const io::GafFrame& left, const io::GafFrame& right) {
                   return left.width == right.width && left.height == right.height &&
                          left.originX == right.originX && left.originY == right.originY &&
                          left.duration == right.duration && left.pixels == right.pixels;
               });
}

void checkWritten(const io::GafFile& gaf, io::GafEncoding encoding) {
    // what shares frames in one file may exceed the reader's limit when written out
    io::GafFile again;
    if (accepts([&] { again = io::parseGaf(io::writeGaf(gaf, encoding)); }))
        require(std::ranges::equal(again.entries, gaf.entries, areSame),
                "an animation reads as it was written");
}

}  // namespace

void run(io::ByteView input) {
    std::vector<std::string> names;
    accepts([&] { names = io::readGafEntryNames(input); });
    std::size_t readable = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(names.size(), 8); ++i) {
        io::GafEntry entry;
        if (!accepts([&] { entry = io::readGafEntry(input, i); })) continue;
        ++readable;
        require(entry.name == names[i], "an entry has the name of the list");
        for (const io::GafFrame& frame : entry.frames)
            require(frame.pixels.size() == std::size_t{frame.width} * frame.height,
                    "all pixels are there");
        accepts([&] { unitview::spriteStrip(entry, io::greyscaleRamp()); });
    }
    io::GafFile gaf;
    if (!accepts([&] { gaf = io::parseGaf(input); })) return;
    require(
        gaf.entries.size() == names.size() && readable == std::min<std::size_t>(names.size(), 8),
        "what can be read as a whole can be read entry by entry");
    checkWritten(gaf, io::GafEncoding::plain);
    checkWritten(gaf, io::GafEncoding::compressed);
}

}  // namespace orb::fuzz
