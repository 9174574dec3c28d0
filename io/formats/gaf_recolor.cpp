#include "io/formats/gaf_recolor.h"

#include <numeric>

#include "io/formats/gaf_walk.h"

namespace orb::io {
namespace {

/// What is known of one byte: two flags, and the number of the set of transparency indices of all
/// frames that show it as a pixel.
using Mark = std::uint16_t;
constexpr Mark kIsOwn = 0x8000;
constexpr Mark kIsStructure = 0x4000;
constexpr Mark kSetMask = IndexSets::kMaxSets - 1;

/// The bytes of a file as one of its entries sees them.
class EntryPixels {
public:
    EntryPixels(ByteView file, std::size_t index)
        : file_(file), directory_(file), index_(index), marks_(file.size()) {
        markStructure({0, kGafHeaderSize + directory_.entryCount() * kGafEntryLinkSize});
        for (std::size_t i = 0; i < directory_.entryCount(); ++i)
            markStructure(
                {directory_.entryOffset(i), kGafEntryHeadSize + directory_.frameLinks(i).size()});
        markOwn();
        markOthers();
    }

    GafColorUse colorUse() const {
        GafColorUse use;
        use.frameCount = directory_.frameLinks(index_).size() / kGafFrameLinkSize;
        use.totalPixels = totalPixels_;
        forEachOwnByte([&](std::size_t at, std::size_t pixels) {
            const IndexSet& seeThrough = sets_[marks_[at] & kSetMask];
            use.seeThrough |= seeThrough;
            if (!seeThrough[file_[at]]) use.pixels[file_[at]] += pixels;
        });
        return use;
    }

    GafRecolored recolored(const IndexMap& map, const Substitute& substitute) const {
        GafRecolored result{Bytes(file_.begin(), file_.end()), 0, {}};
        std::vector<std::optional<IndexMap>> maps(sets_.size());
        forEachOwnByte([&](std::size_t at, std::size_t pixels) {
            const IndexSets::Id set = marks_[at] & kSetMask;
            if (!maps[set]) maps[set] = mapWith(sets_[set], map, substitute);
            const std::uint8_t after = (*maps[set])[file_[at]];
            if (after == file_[at]) return;
            if ((marks_[at] & kIsStructure) != 0)
                throw std::runtime_error("GAF pixels overlap its structure");
            result.file[at] = after;
            result.changedPixels += pixels;
        });
        result.alsoChanges = entriesWithChanges(result.file);
        return result;
    }

private:
    void markStructure(const GafPiece& piece) {
        for (std::size_t at = piece.offset; at < piece.offset + piece.length; ++at)
            marks_[at] |= kIsStructure;
    }

    void addSet(Mark& mark, IndexSets::Id set) {
        const IndexSets::Id known = mark & kSetMask;
        if (known != set) mark = static_cast<Mark>((mark & ~kSetMask) | sets_.united(known, set));
    }

    void markOwn() {
        GafWalk walk(directory_, sets_, {0, file_.size()}, [&](const GafPiece& piece) {
            if (piece.pixelsPerByte == 0) {
                markStructure(piece);
                return false;
            }
            if (own_.end == 0) own_.begin = piece.offset;
            own_ = {std::min(own_.begin, piece.offset),
                    std::max(own_.end, piece.offset + piece.length)};
            for (std::size_t at = piece.offset; at < piece.offset + piece.length; ++at) {
                marks_[at] |= kIsOwn;
                addSet(marks_[at], piece.seeThrough);
            }
            return true;
        });
        walk.walkEntry(index_);
        totalPixels_ = walk.pixelCount();
    }

    void markOthers() {
        GafWalk walk(directory_, sets_, own_, [&](const GafPiece& piece) {
            bool isShared = false;
            const std::size_t end = std::min(own_.end, piece.offset + piece.length);
            for (std::size_t at = std::max(own_.begin, piece.offset); at < end; ++at) {
                if ((marks_[at] & kIsOwn) == 0) continue;
                if (piece.pixelsPerByte == 0) {
                    marks_[at] |= kIsStructure;
                } else {
                    addSet(marks_[at], piece.seeThrough);
                    isShared = true;
                }
            }
            return isShared;
        });
        for (std::size_t i = 0; i < directory_.entryCount(); ++i)
            if (i != index_ && walk.walkEntry(i)) sharing_.push_back(i);
    }

    /// Visits each pixel byte of the entry once, with the number of pixels that it stands for.
    template <typename Visit>
    void forEachOwnByte(Visit visit) const {
        IndexSets sets;
        std::vector<bool> isDone(file_.size());
        GafWalk walk(directory_, sets, own_, [&](const GafPiece& piece) {
            if (piece.pixelsPerByte == 0) return false;
            for (std::size_t at = piece.offset; at < piece.offset + piece.length; ++at) {
                if (!isDone[at]) visit(at, piece.pixelsPerByte);
                isDone[at] = true;
            }
            return false;
        });
        walk.walkEntry(index_);
    }

    /// The map for pixels that must neither be nor become see-through.
    static IndexMap mapWith(const IndexSet& seeThrough, const IndexMap& map,
                            const Substitute& substitute) {
        IndexMap result = identityMap();
        for (std::size_t from = 0; from < map.size(); ++from) {
            if (seeThrough[from]) continue;
            const std::uint8_t to = map[from];
            result[from] = seeThrough[to] ? substitute(to, seeThrough).value_or(result[from]) : to;
        }
        return result;
    }

    std::vector<std::string> entriesWithChanges(ByteView changed) const {
        IndexSets sets;
        GafWalk walk(directory_, sets, own_, [&](const GafPiece& piece) {
            return piece.pixelsPerByte > 0 &&
                   !std::ranges::equal(file_.subspan(piece.offset, piece.length),
                                       changed.subspan(piece.offset, piece.length));
        });
        std::vector<std::string> names;
        for (const std::size_t index : sharing_)
            if (walk.walkEntry(index)) names.push_back(directory_.entryName(index));
        return names;
    }

    ByteView file_;
    GafDirectory directory_;
    std::size_t index_;
    std::uint64_t totalPixels_ = 0;
    /// One for each byte of the file.
    std::vector<Mark> marks_;
    IndexSets sets_;
    /// All of the entry's pixels lie in it.
    ByteRange own_;
    /// Other entries with some of the same pixels.
    std::vector<std::size_t> sharing_;
};

}  // namespace

IndexMap identityMap() {
    IndexMap map;
    std::iota(map.begin(), map.end(), std::uint8_t{0});
    return map;
}

GafColorUse readGafColorUse(ByteView file, std::size_t index) {
    return EntryPixels(file, index).colorUse();
}

GafRecolored recolorGafEntry(ByteView file, std::size_t index, const IndexMap& map,
                             const Substitute& substitute) {
    return EntryPixels(file, index).recolored(map, substitute);
}

}  // namespace orb::io
