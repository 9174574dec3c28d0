#include <bit>

#include <gtest/gtest.h>

#include "io/archive/hpi_chunk.h"
#include "io/archive/hpi_draft.h"
#include "io/archive/hpi_format.h"
#include "io/archive/hpi_writer.h"
#include "tests/io/archive_fixture.h"

namespace orb::io {
namespace {

using Lines = std::vector<std::string>;

/// Every entry of a tree in its order, with what it decodes to.
void list(const HpiArchive& archive, const HpiEntries& entries, const std::string& prefix,
          Lines& lines) {
    for (const HpiEntry& entry : entries) {
        const std::string path = prefix + entry.name;
        if (const HpiEntries* const children = entry.directory()) {
            lines.push_back(path + "/");
            list(archive, *children, path + "/", lines);
        } else {
            lines.push_back(fmt::format("{} {}: {}", path, entry.file()->compressionFlag,
                                        asText(archive.readFile(entry))));
        }
    }
}

/// What a packer of our own would not write: data stored as is, files and directories whose names
/// differ in case only, an empty directory, shared data, a name that no path reaches.
HpiDraft oddDraft() {
    HpiDraft draft;
    const auto blob = [&](Bytes data) {
        draft.blobs.emplace_back([data = std::move(data)](ByteWriter& out) { out.bytes(data); });
        return draft.blobs.size() - 1;
    };
    ByteWriter chunks;
    appendHpiChunks(chunks, bytesOf("in chunks"));
    const HpiDraft::File stored{6, 0, blob(bytesOf("stored"))};
    const HpiDraft::File chunked{9, 2, blob(chunks.take())};
    HpiDraft::Directory& units = draft.root.append("Units");
    units.children.push_back({"b.fbi", stored});
    units.children.push_back({"A.FBI", chunked});
    units.children.push_back({"a.fbi", stored});
    units.append("empty");
    units.children.push_back({"..", chunked});
    draft.root.append("UNITS").children.push_back({"A.FBI", stored});
    draft.root.children.push_back({"Nothing", {0, 1, blob({})}});
    return draft;
}

/// Scrambles an archive by position, as its header's key says.
Bytes scrambled(Bytes archive, std::uint8_t headerKey) {
    archive[12] = headerKey;
    scrambleByPosition(std::span(archive).subspan(kHpiHeaderSize), kHpiHeaderSize,
                       std::rotl(headerKey, 2));
    return archive;
}

TEST(ArchiveRewriteTest, KeepsEverythingElse) {
    const TestFolder folder;
    const Bytes old = layOutHpi(oddDraft(), kHpiBankVersion, 0);
    const Lines kept{"Units/",
                     "Units/b.fbi 0: stored",
                     "Units/A.FBI 2: in chunks",
                     "Units/a.fbi 0: stored",
                     "Units/empty/",
                     "Units/.. 2: in chunks",
                     "UNITS/",
                     "UNITS/A.FBI 0: stored",
                     "Nothing 1: "};
    for (const Bytes& bytes : {old, scrambled(old, 0x5B)}) {
        const auto path = folder.write("old.ufo", bytes);
        const Bytes content = bytesOf("new");
        const auto after = [&](std::vector<std::string_view> entries) {
            std::vector<HpiReplacement> files;
            for (const auto entry : entries) files.push_back({entry, content});
            const Bytes rewritten = rewriteHpi(HpiArchive(path), files);
            const HpiArchive archive(folder.write("new.ufo", rewritten));
            EXPECT_TRUE(archive.isBank());
            EXPECT_EQ(archive.readKey(), 0);
            Lines lines;
            list(archive, archive.root().entries, "", lines);
            return lines;
        };
        Lines replaced = kept;
        replaced[2] = "Units/A.FBI 1: new";
        EXPECT_EQ(after({"UNITS\\a.fbi"}), replaced);
        Lines added = kept;
        added.insert(added.begin() + 6, "Units/C.FBI 1: new");
        EXPECT_EQ(after({"units/C.FBI"}), added);
        added = kept;
        added.insert(added.end(), {"New/", "New/D 1: new"});
        EXPECT_EQ(after({"New/D"}), added);
        added[2] = "Units/A.FBI 1: new";
        added.push_back("New/E 1: new");
        EXPECT_EQ(after({"New/D", "units/a.FBI", "new/E"}), added);
    }
}

TEST(ArchiveRewriteTest, CopiesDataByteForByte) {
    const TestFolder folder;
    const std::vector<HpiInputFile> files{{"a", bytesOf("a")}, {"b", Bytes(100'000, 'b')}};
    const Bytes old = writeHpi(files);
    const HpiArchive archive(folder.write("a.hpi", old));
    const HpiReplacement same{"a", files[0].content};
    EXPECT_EQ(rewriteHpi(archive, {&same, 1}), old);
}

TEST(ArchiveRewriteTest, RefusesWhatItCannotCopy) {
    const TestFolder folder;
    const auto refusal = [&](const HpiDraft& draft, std::size_t cut) {
        Bytes bytes = layOutHpi(draft, kHpiVersion, 0);
        bytes.resize(bytes.size() - cut);
        try {
            const HpiReplacement empty{"new", {}};
            rewriteHpi(HpiArchive(folder.write("a.hpi", bytes)), {&empty, 1});
            return std::string();
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
    };
    HpiDraft draft = oddDraft();
    EXPECT_EQ(refusal(draft, 93), "");
    EXPECT_TRUE(refusal(draft, 94).starts_with("HPI read error at offset "));
    // Files that announce each other's data, more of them than the archive is long.
    for (std::uint32_t size = 7; size < 60; ++size)
        draft.root.children.push_back({"x", {size, 0, 0}});
    EXPECT_EQ(refusal(draft, 0), "HPI files overlap");
}

}  // namespace
}  // namespace orb::io
