#include "io/formats/gaf_recolor.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "io/format_damage.h"
#include "io/formats/gaf.h"

namespace orb::io {
namespace {

constexpr std::uint8_t kSubstitute = 77;

std::optional<std::uint8_t> substitute(std::uint8_t, const IndexSet&) {
    return kSubstitute;
}

GafRecolored recolor(const Bytes& file, std::size_t entry, const IndexMap& map) {
    return recolorGafEntry(file, entry, map, substitute);
}

IndexMap mapOf(std::initializer_list<std::pair<std::uint8_t, std::uint8_t>> changes) {
    IndexMap map = identityMap();
    for (const auto& [from, to] : changes) map[from] = to;
    return map;
}

struct Record {
    std::uint16_t width = 0, height = 0, originX = 0;
    std::uint8_t transparency = 9, compressed = 0;
    /// Numbers of records; without any, the data at `data`.
    std::vector<std::size_t> subframes = {};
    /// Counted from the start of the file's data.
    std::size_t data = 0;
};

/// An animation file: head, entries (lists of record numbers), records, subframe lists, data.
struct Parts {
    std::vector<std::vector<std::size_t>> entries;
    std::vector<Record> records;
    Bytes data;

    std::size_t recordsAt() const {
        std::size_t size = 12;
        for (const auto& frames : entries) size += 4 + 40 + 8 * frames.size();
        return size;
    }
    std::size_t dataAt() const {
        std::size_t size = recordsAt() + 24 * records.size();
        for (const Record& record : records) size += 4 * record.subframes.size();
        return size;
    }

    Bytes file() const {
        ByteWriter out;
        const auto word = [&](std::size_t value) { out.u32(static_cast<std::uint32_t>(value)); };
        for (const std::size_t field : {std::size_t{0x00010100}, entries.size(), std::size_t{0}})
            word(field);
        std::size_t entryAt = 12 + 4 * entries.size();
        for (const auto& frames : entries) {
            word(entryAt);
            entryAt += 40 + 8 * frames.size();
        }
        for (std::size_t i = 0; i < entries.size(); ++i) {
            word(0x10000 | entries[i].size());
            word(0);
            out.text("entry" + std::string(1, static_cast<char>('0' + i)));
            out.zeros(26);
            for (const std::size_t record : entries[i]) {
                word(recordsAt() + 24 * record);
                word(1);
            }
        }
        std::size_t listAt = recordsAt() + 24 * records.size();
        for (const Record& record : records) {
            for (const std::uint16_t field :
                 {record.width, record.height, record.originX, std::uint16_t{0}})
                out.u16(field);
            out.u8(record.transparency);
            out.u8(record.compressed);
            out.u16(static_cast<std::uint16_t>(record.subframes.size()));
            word(0);
            word(record.subframes.empty() ? dataAt() + record.data : listAt);
            word(0);
            listAt += 4 * record.subframes.size();
        }
        for (const Record& record : records)
            for (const std::size_t subframe : record.subframes) word(recordsAt() + 24 * subframe);
        out.bytes(data);
        return out.take();
    }
};

/// Random files whose frames share rows and subframes in every way that leads no byte astray.
class RandomParts {
public:
    explicit RandomParts(std::uint32_t seed) : random_(seed) {}

    std::size_t below(std::size_t count) { return random_() % count; }

    Parts make(std::span<const std::uint8_t> transparencies) {
        Parts parts;
        for (int i = 0; i < 8; ++i) parts.records.push_back(leaf(parts.data));
        for (int i = 0; i < 4; ++i) parts.records.push_back(parts.records[below(8)]);
        for (int i = 0; i < 4; ++i) {
            Record record{number(1, 6), number(1, 4), number(0, 2)};
            for (std::size_t n = 1 + below(3); n > 0; --n)
                record.subframes.push_back(below(parts.records.size()));
            parts.records.push_back(std::move(record));
        }
        for (Record& record : parts.records)
            record.transparency = transparencies[below(transparencies.size())];
        for (int i = 0; i < 5; ++i) {
            parts.entries.emplace_back();
            for (std::size_t n = below(4); n > 0; --n)
                parts.entries.back().push_back(below(parts.records.size()));
        }
        return parts;
    }

private:
    std::uint16_t number(std::size_t first, std::size_t last) {
        return static_cast<std::uint16_t>(first + below(last - first + 1));
    }
    std::uint8_t index() { return static_cast<std::uint8_t>(below(16)); }

    Record leaf(Bytes& data) {
        Record record{number(0, 6), number(0, 4), number(0, 2)};
        record.compressed = static_cast<std::uint8_t>(below(2));
        const std::size_t size = std::size_t{record.width} * record.height;
        // plain data may begin amid those of the picture before, if that is plain too
        const bool overlaps = record.compressed == 0 && lastPlain_ > 0;
        record.data = data.size() - (overlaps ? below(lastPlain_ + 1) : 0);
        lastPlain_ = 0;
        if (record.compressed != 0) {
            for (std::size_t y = 0; y < record.height; ++y) addRow(data, record.width);
        } else {
            while (data.size() < record.data + size) data.push_back(index());
            lastPlain_ = size;
        }
        return record;
    }

    void addRow(Bytes& data, std::size_t width) {
        const std::size_t head = data.size();
        data.insert(data.end(), {0, 0});
        for (std::size_t x = 0; x < width && below(8) > 0;) {
            const std::size_t count = 1 + below(width);  // may reach past the end
            const std::size_t kind = below(3);
            data.push_back(static_cast<std::uint8_t>(
                kind == 0 ? count << 1 | 1 : (count - 1) << 2 | (kind == 1 ? 2 : 0)));
            for (std::size_t i = 0; i < (kind == 0 ? 0 : kind == 1 ? 1 : count); ++i)
                data.push_back(index());
            x += count;
        }
        data[head] = static_cast<std::uint8_t>(data.size() - head - 2);
    }

    std::mt19937 random_;
    std::size_t lastPlain_ = 0;
};

TEST(GafRecolor, ChangesOnlyWhatTheMapNamesInEveryFrame) {
    std::uint64_t changed = 0;
    std::size_t shared = 0;
    for (std::uint32_t seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        RandomParts random(seed);
        const Parts parts = random.make(Bytes{9});
        const Bytes file = parts.file();
        IndexMap map = identityMap();
        for (int i = 0; i < 6; ++i)
            map[random.below(16)] =
                static_cast<std::uint8_t>(random.below(2) * 100 + random.below(16));
        const std::size_t own = random.below(parts.entries.size());
        const GafRecolored result = recolor(file, own, map);
        changed += result.changedPixels;
        shared += result.alsoChanges.size();

        IndexMap expected = map;
        for (std::uint8_t& to : expected) to = to == 9 ? kSubstitute : to;
        expected[9] = 9;
        ASSERT_EQ(result.file.size(), file.size());
        for (std::size_t i = 0; i < file.size(); ++i)
            if (result.file[i] != file[i]) {
                ASSERT_GE(i, parts.dataAt());
                ASSERT_EQ(result.file[i], expected[file[i]]);
            }
        const GafFile before = parseGaf(file);
        const GafFile after = parseGaf(result.file);
        for (std::size_t e = 0; e < before.entries.size(); ++e) {
            const std::string& name = before.entries[e].name;
            const bool isNamed =
                std::ranges::find(result.alsoChanges, name) != result.alsoChanges.end();
            for (std::size_t f = 0; f < before.entries[e].frames.size(); ++f) {
                Bytes pixels = before.entries[e].frames[f].pixels;
                if (e == own)
                    for (std::uint8_t& pixel : pixels) pixel = expected[pixel];
                if (e == own || !isNamed) {
                    ASSERT_EQ(after.entries[e].frames[f].pixels, pixels) << name;
                }
            }
        }
    }
    EXPECT_GT(changed, 500U);
    EXPECT_GT(shared, 100U);
}

TEST(GafRecolor, KeepsWhatIsSeeThroughInAnyFrameThatShowsIt) {
    const Bytes transparencies = {0, 5, 9};
    for (std::uint32_t seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        RandomParts random(seed);
        const Bytes file = random.make(transparencies).file();
        IndexMap map = identityMap();
        for (std::uint8_t& to : map) to = static_cast<std::uint8_t>(random.below(16));
        const GafRecolored result = recolor(file, random.below(5), map);
        const GafFile before = parseGaf(file);
        const GafFile after = parseGaf(result.file);
        for (std::size_t e = 0; e < before.entries.size(); ++e)
            for (std::size_t f = 0; f < before.entries[e].frames.size(); ++f) {
                const GafFrame& frame = before.entries[e].frames[f];
                for (std::size_t i = 0; i < frame.pixels.size(); ++i)
                    ASSERT_EQ(frame.pixels[i] == frame.transparencyIndex,
                              after.entries[e].frames[f].pixels[i] == frame.transparencyIndex);
            }
    }
}

TEST(GafRecolor, CountsSharedPixelsOnceAndNamesWhoShowsThem) {
    const Parts parts{{{0, 0, 1}, {1}, {2}, {3}},
                      {{4, 1},                  // 5 9 5 6
                       {3, 2, 0, 9, 1, {}, 4},  // 5 5 5, below it 9 9 6
                       {1, 1, 0, 9, 0, {}, 3},  // the 6 of the first one
                       {6, 1, 0, 9, 0, {0, 2}}},
                      {5, 9, 5, 6, 2, 0, 10, 5, 3, 0, 5, 0, 6}};
    const Bytes file = parts.file();

    const GafColorUse use = readGafColorUse(file, 0);
    EXPECT_EQ(use.frameCount, 3U);
    EXPECT_EQ(use.totalPixels, 10U);
    EXPECT_EQ(use.pixels[5], 2U + 3U);
    EXPECT_EQ(use.pixels[6], 2U);
    EXPECT_EQ(use.pixels[9], 0U);
    EXPECT_EQ(use.seeThrough, IndexSet().set(9));

    const auto names = [&](std::size_t entry, const IndexMap& map) {
        return recolor(file, entry, map).alsoChanges;
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(recolor(file, 0, mapOf({{5, 1}, {6, 2}})).changedPixels, 7U);
    EXPECT_EQ(names(0, mapOf({{6, 2}})), (Names{"entry1", "entry2", "entry3"}));
    EXPECT_EQ(names(0, mapOf({{5, 1}})), (Names{"entry1", "entry3"}));
    EXPECT_EQ(names(2, mapOf({{6, 2}})), (Names{"entry0", "entry3"}));
    EXPECT_EQ(names(1, mapOf({{9, 2}})), Names{});
    EXPECT_EQ(recolor(file, 0, mapOf({{5, 5}})).file, file);
}

TEST(GafRecolor, RefusesToTouchWhatIsNoPixelElsewhere) {
    // The first picture's data are the second one's rows: two bytes of count, a code, a value.
    const Parts parts{{{0}, {1}}, {{4, 1, 0, 200}, {2, 1, 0, 200, 1}}, {2, 0, 6, 33}};
    const Bytes file = parts.file();
    const GafRecolored sound = recolor(file, 0, mapOf({{33, 34}}));
    EXPECT_EQ(sound.alsoChanges, std::vector<std::string>{"entry1"});
    EXPECT_EQ(parseGaf(sound.file).entries[1].frames[0].pixels, (Bytes{34, 34}));
    for (const std::uint8_t structure : {std::uint8_t{2}, std::uint8_t{6}})
        EXPECT_EQ(refusal(file,
                          [&](const Bytes& bytes) {
                              recolor(bytes, 0, mapOf({{structure, 7}}));
                          }),
                  "GAF pixels overlap its structure");

    // A picture of the file's own head.
    Parts head = parts;
    Bytes ofHead = parts.file();
    const std::size_t dataField = head.recordsAt() + 16;
    std::fill_n(ofHead.begin() + static_cast<std::ptrdiff_t>(dataField), 4, std::uint8_t{0});
    EXPECT_EQ(refusal(ofHead,
                      [&](const Bytes& bytes) {
                          recolor(bytes, 0, mapOf({{1, 7}}));
                      }),
              "GAF pixels overlap its structure");
}

TEST(GafRecolor, SurvivesDamageAndBoundsItsWork) {
    const Bytes file = RandomParts(7).make(Bytes{9, 0}).file();
    const auto change = [](const Bytes& bytes) {
        recolor(bytes, 1, mapOf({{1, 2}, {3, 9}, {0, 4}, {200, 3}}));
    };
    expectSurvivesDamage(file, change);
    expectSurvivesDamage(file, [](const Bytes& bytes) { readGafColorUse(bytes, 0); });

    // Damage in one entry: any other may share it, so none is changed.
    const Parts parts{{{0}, {1}}, {{2, 1}, {200, 200}}, {1, 1}};
    EXPECT_EQ(refusal(parts.file(),
                      [](const Bytes& bytes) {
                          recolor(bytes, 0, mapOf({{1, 2}}));
                      }),
              "GAF data too small");
    EXPECT_EQ(refusal(parts.file(), [](const Bytes& bytes) { recolor(bytes, 2, identityMap()); }),
              "GAF data too small");

    // Frames in frames: each level names the next one 50 times, all are looked at once.
    Parts nested{{{0}}, {}, {1}};
    for (std::size_t level = 1; level <= 8; ++level)
        nested.records.push_back({1, 1, 0, 9, 0, std::vector<std::size_t>(50, level)});
    nested.records.push_back({1, 1});
    EXPECT_EQ(recolor(nested.file(), 0, mapOf({{1, 2}})).changedPixels, 1U);
    nested.records[8].subframes = {0};
    EXPECT_EQ(refusal(nested.file(), [](const Bytes& bytes) { recolor(bytes, 0, identityMap()); }),
              "GAF data too small");
}

}  // namespace
}  // namespace orb::io
