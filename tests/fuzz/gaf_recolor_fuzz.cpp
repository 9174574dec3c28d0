#include "fuzzing.h"
#include "io/formats/gaf.h"
#include "io/formats/gaf_recolor.h"
#include "model/texture_recolor.h"

// An animation file whose entry of the first byte's number gets other colours: by a map of so many
// pairs as the second byte says, and by what is suggested. Then come the pairs and the file.

namespace orb::fuzz {
namespace {

using Pictures = std::vector<std::optional<io::GafEntry>>;

Pictures readAll(io::ByteView file, std::size_t count) {
    Pictures entries(count);
    for (std::size_t i = 0; i < count; ++i)
        accepts([&] { entries[i] = io::readGafEntry(file, i); });
    return entries;
}

std::size_t differences(const io::GafEntry& before, const io::GafEntry& after) {
    std::size_t count = 0;
    require(before.frames.size() == after.frames.size(), "no frame is lost");
    for (std::size_t f = 0; f < before.frames.size(); ++f) {
        const io::GafFrame& old = before.frames[f];
        const io::GafFrame& now = after.frames[f];
        require(old.pixels.size() == now.pixels.size(), "a frame keeps its size");
        for (std::size_t i = 0; i < old.pixels.size(); ++i) {
            require((old.pixels[i] == old.transparencyIndex) ==
                        (now.pixels[i] == now.transparencyIndex),
                    "what is see-through stays so, and nothing else becomes it");
            if (old.pixels[i] != now.pixels[i]) ++count;
        }
    }
    return count;
}

void checkChange(io::ByteView file, std::size_t index,
                 std::span<const unitview::IndexChange> changes) {
    io::GafRecolored result;
    if (!accepts(
            [&] { result = unitview::recolorTexture(file, index, changes, io::greyscaleRamp()); }))
        return;
    require(result.file.size() == file.size(), "a file keeps its size");
    const std::vector<std::string> names = io::readGafEntryNames(file);
    require(names == io::readGafEntryNames(result.file), "entries keep their names");
    const std::size_t count = std::min<std::size_t>(names.size(), 8);
    const Pictures before = readAll(file, count);
    const Pictures after = readAll(result.file, count);
    for (std::size_t i = 0; i < count; ++i) {
        require(before[i].has_value() == after[i].has_value(), "what could be read still can be");
        if (!before[i] || differences(*before[i], *after[i]) == 0 || i == index) continue;
        require(std::ranges::find(result.alsoChanges, names[i]) != result.alsoChanges.end(),
                "an entry that changes is named");
    }
    require(result.changedPixels > 0 || std::ranges::equal(result.file, file),
            "what changes is counted");
}

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    const std::size_t index = choices.byte();
    std::vector<unitview::IndexChange> changes(choices.below(16));
    for (unitview::IndexChange& change : changes) change = {choices.byte(), choices.byte()};
    const io::ByteView file = choices.rest();
    checkChange(file, index, changes);
    for (const auto direction :
         {unitview::RecolorDirection::away, unitview::RecolorDirection::toward}) {
        io::GafColorUse use;
        if (!accepts([&] { use = io::readGafColorUse(file, index); })) return;
        require(unitview::teamPixels(use) <= use.totalPixels, "no pixel counts twice");
        checkChange(file, index, unitview::suggestRecolor(use, io::greyscaleRamp(), direction));
    }
}

}  // namespace orb::fuzz
