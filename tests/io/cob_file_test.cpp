#include "io/formats/cob_file.h"

#include <gtest/gtest.h>

#include "io/format_damage.h"
#include "io/formats/name_reader.h"

namespace orb::io {
namespace {

constexpr const char* kOutOfBounds = "COB read out of bounds";

CobFile sampleCob() {
    CobFile cob;
    cob.scripts = {{"Create", 0}, {"Aim", 2}, {"CREATE", 2}};
    cob.pieces = {"base", "gun"};
    cob.staticVarCount = 5;
    cob.code = {0x10021001, 7, 0xFFFFFFFF};
    return cob;
}

Bytes fileOfWords(std::initializer_list<std::uint32_t> words) {
    ByteWriter out;
    for (const std::uint32_t word : words) out.u32(word);
    return out.take();
}

TEST(CobFile, WritesTheVersion4Layout) {
    ByteWriter expected;
    for (const std::uint32_t word :
         {4U,          3U,  2U,          3U,   5U,  0U, 56U, 68U, 80U, 44U, 88U,  // header
          0x10021001U, 7U,  0xFFFFFFFFU, 0U,   2U,  2U,                           // code, entries
          88U,         95U, 99U,         106U, 111U})                             // names' offsets
        expected.u32(word);
    for (const char* name : {"Create", "Aim", "CREATE", "base", "gun"}) expected.cString(name);
    EXPECT_EQ(writeCob(sampleCob()), expected.take());
}

TEST(CobFile, ReadsWhatItWrites) {
    const CobFile cob = parseCob(writeCob(sampleCob()));
    EXPECT_EQ(writeCob(cob), writeCob(sampleCob()));
    EXPECT_EQ(cob.pieces, sampleCob().pieces);
    EXPECT_EQ(cob.findScript("create"), 0);
    EXPECT_EQ(cob.findScript("AIM"), 1);
    EXPECT_EQ(cob.findScript("Aim1"), -1);
    EXPECT_EQ(cob.findScript(""), -1);
}

TEST(CobFile, ReadsFilesThroughTheirOffsets) {
    // an unknown version, blocks in another order, a name to the file's end and one beyond it
    ByteWriter out;
    out.bytes(fileOfWords({6, 1, 2, 1, 9, 3, 52, 48, 60, 44, 0, 0xAA, 68, 0, 0, 68, 9999}));
    out.text("tail");
    const CobFile cob = parseCob(out.take());
    EXPECT_EQ(cob.version, 6U);
    EXPECT_EQ(cob.staticVarCount, 9U);
    EXPECT_EQ(cob.scripts.at(0).name, "tail");
    EXPECT_EQ(cob.pieces, (std::vector<std::string>{"tail", ""}));
    EXPECT_EQ(cob.code, (std::vector<std::uint32_t>{0xAA}));
}

TEST(CobFile, ChecksCountsAgainstTheFile) {
    constexpr std::uint32_t kHuge = 0xFFFFFFFF;
    expectRefusals(parseCob,
                   {{Bytes(43), "COB data too small"},
                    {Bytes(44), ""},
                    {fileOfWords({4, 0, 0, 0, 0, 0, kHuge, kHuge, kHuge, kHuge, kHuge}), ""},
                    {fileOfWords({4, 0, 0, 1, 0, 0, 0, 0, 0, 40, 0}), ""},
                    {fileOfWords({4, 0, 0, 1, 0, 0, 0, 0, 0, 41, 0}), kOutOfBounds},
                    {fileOfWords({4, 0, 0, kHuge, 0, 0, 0, 0, 0, 0, 0}), kOutOfBounds},
                    {fileOfWords({4, 1, 0, 0, 0, 0, kHuge, 0, 0, 0, 0}), kOutOfBounds},
                    {fileOfWords({4, 0x40000001, 0, 0, 0, 0, 0, 0, 0, 0, 0}), kOutOfBounds},
                    {fileOfWords({4, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0}), kOutOfBounds},
                    {fileOfWords({4, 0, 11, 0, 0, 0, 0, 0, 0, 0, 0}), ""}});
    expectSurvivesDamage(writeCob(sampleCob()), parseCob);
}

TEST(CobFile, LeavesNamesEmptyBeyondAMebibyte) {
    CobFile cob;
    cob.scripts = {{std::string(1 << 20, 'a'), 0}, {"Create", 0}};
    const CobFile read = parseCob(writeCob(cob));
    ASSERT_EQ(read.scripts.size(), 2U);
    EXPECT_EQ(read.scripts[0].name.size(), 1U << 20);
    EXPECT_EQ(read.scripts[1].name, "");
}

TEST(NameReader, LeavesNamesEmptyBeyondTheLimit) {
    const Bytes file = {'a', 'b', 'c', 0, 'd', 0};
    NameReader names(ByteCursor(file, "test"), 7);
    const std::uint32_t offsets[] = {0, 6, 1, 0, 4};
    std::vector<std::string> read;
    for (const std::uint32_t offset : offsets) read.push_back(names.read(offset));
    EXPECT_EQ(read, (std::vector<std::string>{"abc", "", "bc", "", ""}));
}

}  // namespace
}  // namespace orb::io
