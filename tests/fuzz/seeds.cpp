#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "bos/statement_forms.h"
#include "cob/opcodes.h"
#include "io/archive/hpi_archive.h"
#include "io/archive/hpi_chunk.h"
#include "io/archive/hpi_draft.h"
#include "io/archive/hpi_format.h"
#include "io/ascii.h"
#include "io/formats/fbi.h"
#include "io/formats/tdf.h"
#include "io/formats/tnt.h"
#include "io/vfs/data_roots.h"
#include "memory_file.h"
#include "tests/quiet_log.h"

// orb-fuzz-seeds SAMPLE_DATA SAMPLE_SOURCES OUT: what each fuzzer starts from, in OUT/<target>/,
// and its dictionary, OUT/<target>.dict, made of the sample game and of the program's own tables.

namespace {

namespace fs = std::filesystem;
using namespace orb;

/// Where a kind of file goes, and what its target wants in front of it.
struct Use {
    std::string_view extension;
    std::string_view target;
    std::string prefix = {};
};

const std::vector<Use>& uses() {
    static const std::vector<Use> all = {
        {".fbi", "tdf"},
        {".tdf", "tdf"},
        {".fbi", "fbi_edit", "\x01MaxDamage=77\n"},
        {".fbi", "fbi_edit", std::string("\x03NewKey=a b\nbuildtime\nName=\n")},
        {".fbi", "text"},
        {".3do", "model"},
        {".3do", "model_fix"},
        {".cob", "cob"},
        {".cob", "disassembler", "\x01"},
        {".cob", "lints", "\x06\x01"},
        {".cob", "interpreter",
         std::string("\x02\x00\x01\x03\x01\x02\x03\x02\x01\x02\x07\x87\x04\x02\x09\x03\x01\x01\x12"
                     "\x02\x01\x01\x03\x06\x00\x03\x09\x01\x40\x03\x07\x08\x01",
                     32) +
             "\x01"},
        {".cob", "two_interpreters", "\x03\x01\x02\x03\x01\x05\x06\x01"},
        {".pcx", "pcx"},
        {".gaf", "gaf"},
        {".gaf", "gaf_recolor", std::string("\x00\x02\x60\x10\x61\x00", 6)},
        {".png", "png", "\x01"},
        {".ota", "ota"},
        {".pal", "palette"},
        {".json", "unit_ir"},
        {".json", "text"},
        {".bos", "bos_compiler", std::string(1, '\0')},
    };
    return all;
}

class Output {
public:
    explicit Output(fs::path folder) : folder_(std::move(folder)) { fs::remove_all(folder_); }

    void seed(std::string_view target, std::string_view content) {
        const fs::path folder = folder_ / target;
        fs::create_directories(folder);
        write(folder / fmt::format("{:03}", ++count_), content);
    }
    void dictionary(std::string_view target, const std::set<std::string>& words) const {
        std::string text;
        for (const std::string& word : words) {
            text += '"';
            for (const char c : word)
                text += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
            text += "\"\n";
        }
        write(folder_ / fmt::format("{}.dict", target), text);
    }

private:
    static void write(const fs::path& path, std::string_view content) {
        std::ofstream file(path, std::ios::binary);
        if (!file.write(content.data(), static_cast<std::streamsize>(content.size())))
            throw std::runtime_error("cannot write " + path.string());
    }

    fs::path folder_;
    int count_ = 0;
};

void useFile(Output& out, std::string_view name, std::string_view content) {
    const std::string extension = fs::path(name).extension().string();
    for (const Use& use : uses())
        if (io::equalsIgnoringCase(extension, use.extension))
            out.seed(use.target, use.prefix + std::string(content));
}

void useMountedFiles(Output& out, const io::AbstractVirtualFileSystem& files,
                     const std::string& directory) {
    files.forEachFile(directory, "", [&](std::string_view name, const auto& content, auto) {
        if (content) useFile(out, name, io::asText(*content));
    });
    for (const std::string& name : files.listDirectories(directory))
        useMountedFiles(out, files, fmt::format("{}/{}", directory, name));
}

/// What the sample archives lack: a file stored as is, two files that share their data, one of no
/// length and an empty directory; and the whole scrambled.
void makeArchives(Output& out) {
    constexpr std::uint32_t kHeaderKeyOffset = 12;
    io::HpiDraft draft;
    draft.blobs.emplace_back([](io::ByteWriter& blob) { blob.text("as it is"); });
    draft.blobs.emplace_back(
        [](io::ByteWriter& blob) { io::appendHpiChunks(blob, io::Bytes(70'000, 'x')); });
    draft.addFile("units/PLAIN.fbi", {8, 0, 0});
    draft.addFile("Units/again.txt", {8, 0, 0});
    draft.addFile("large.bin", {70'000, 1, 1});
    draft.addFile("none", {0, 0, 0});
    draft.root.append("empty");
    io::Bytes archive = io::layOutHpi(draft, io::kHpiVersion, 1000);
    out.seed("archive", io::asText(archive));
    archive[kHeaderKeyOffset] = 5;
    const auto key = io::HpiArchive(fuzz::MemoryFile(archive).path()).readKey();
    io::scrambleByPosition(std::span(archive).subspan(io::kHpiHeaderSize), io::kHpiHeaderSize, key);
    out.seed("archive", io::asText(archive));
}

/// Every instruction once, with something to work on, in the dense form of programs.
std::string everyInstruction() {
    std::string program("\x04\x06\0", 3);  // statics, pieces, the first script's name
    for (std::size_t op = 1; op < unitview::kOpCount; ++op) {
        for (const char value : {'\7', '\3', '\6', '\5'})
            program += {static_cast<char>(unitview::Op::pushConst), value};
        program += static_cast<char>(op);
        const auto& instruction = unitview::opcodeTable()[op];
        if (instruction.isJump()) {
            program += '\xA2';  // just behind
            continue;
        }
        program += std::string(instruction.operandCount(), '\1');
        if (op % 8 == 0) program += '\xF9';  // another script
    }
    return program;
}

std::string readText(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void useArchives(Output& out, const fs::path& data) {
    for (const auto& entry : fs::recursive_directory_iterator(data))
        if (io::isArchiveExtension(entry.path().extension().string()))
            out.seed("archive", readText(entry.path()));
}

/// Scripts that are packed without their source, and the headers behind those that want them.
std::set<std::string> useSources(Output& out, const fs::path& sources) {
    std::set<std::string> words;
    for (const auto& entry : fs::recursive_directory_iterator(sources)) {
        const std::string name = entry.path().filename().string();
        if (!name.ends_with(".bos") && !name.ends_with(".cob.txt")) continue;
        const std::string text = readText(entry.path());
        if (name.ends_with(".cob.txt")) useFile(out, "x.bos", text);
        if (const auto at = text.find("#include \""); at != std::string::npos) {
            const std::size_t begin = at + 10;
            const std::string header = text.substr(begin, text.find('"', begin) - begin);
            useFile(out, "x.bos", text + '\f' + readText(entry.path().parent_path() / header));
        }
        constexpr auto isPart = [](char c) {
            return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-';
        };
        for (auto at = text.begin(); at != text.end();) {
            const auto begin = std::find_if(at, text.end(), isPart);
            at = std::find_if_not(begin, text.end(), isPart);
            if (at - begin > 1) words.emplace(begin, at);
        }
    }
    for (const unitview::bos::StatementForm& form : unitview::bos::statementForms())
        words.emplace(form.keyword);
    for (const std::string_view word :
         {"#define A(x) x", "#undef ", "#include \"", "#if ", "#elif ", "#else", "#endif",
          "#ifdef ", "#ifndef ", "defined(", "##", "__words(", "//", "/*",
          "// linear 65536, angular 182"})
        words.emplace(word);
    return words;
}

/// Small ones; those of the sample game would take a fuzzer minutes to work through.
void makeMaps(Output& out) {
    io::TntFile map;
    map.size = {5, 4};
    map.seaLevel = 30;
    for (std::uint8_t i = 0; i < 20; ++i) map.cells.push_back({static_cast<std::uint8_t>(i * 9)});
    map.cells[3].feature = 0;
    map.cells[9].feature = io::kTntVoid;
    map.tileMap = {0, 1, 1, io::kTntNoTile};
    for (std::size_t i = 0; i < 2 * io::kTntTilePixels; ++i)
        map.tiles.push_back(static_cast<std::uint8_t>(i * 7));
    map.featureNames = {"FenAlder", "FenOre"};
    out.seed("tnt", io::asText(io::writeTnt(map)));
    map.minimap = {3, 2, {1, 2, 0x64, 3, 0x64, 0x64}};
    out.seed("tnt", io::asText(io::writeTnt(map)));
}

/// For each unit of a mod all files of its name, as `mod_fuzz` takes them, with the mod's tables.
void makeMods(Output& out, const fs::path& data) {
    constexpr std::size_t kMostBytes = 0xFFFF;
    for (const char* const mod : {"found", "arms", "works", "watch", "wings", "mod", "faulty"}) {
        io::CompositeVirtualFileSystem files;
        io::buildLayers(files, {}, data / mod, "");
        std::map<std::string, std::string> units;
        std::string tables;
        for (const char* const folder : {"units", "objects3d", "scripts", "unitpics", "weapons",
                                         "download", "gamedata", "features", "features/corpses"})
            files.forEachFile(folder, "", [&](std::string_view name, const auto& content, auto) {
                if (!content || content->size() > kMostBytes) return;
                std::string file = fmt::format("{}/{}\n", folder, name);
                file += static_cast<char>(content->size() >> 8);
                file += static_cast<char>(content->size());
                file += io::asText(*content);
                const bool isTable = io::endsWithIgnoringCase(name, ".tdf");
                (isTable ? tables : units[fs::path(name).stem().string()]) += file;
            });
        for (const auto& [name, text] : units) out.seed("mod", text + tables);
    }
}

/// Programs of the battle are dense: whatever the bytes are, they mean something.
void makeBattles(Output& out, const std::set<std::string>& keys) {
    constexpr int kBattles = 40;
    constexpr std::size_t kLength = 300;
    constexpr const char* kValues[] = {"0", "1", "-1", "7", "200", "99999", "1e9", "YYoo", ""};
    std::minstd_rand random(1);
    const std::vector<std::string> words(keys.begin(), keys.end());
    for (int battle = 0; battle < kBattles; ++battle) {
        const std::size_t changes = battle % 4 * 2;
        std::string program(1, static_cast<char>(changes));
        for (std::size_t i = 0; i < changes; ++i) {
            program += static_cast<char>(random());
            program += words[random() % words.size()];
            program += kValues[random() % std::size(kValues)];
            program += '\n';
        }
        while (program.size() < kLength) program += static_cast<char>(random() >> 8);
        out.seed("world", program);
    }
}

void makePlans(Output& out) {
    for (const char state : {'\0', '\1', '\3', '\x55', '\xFF'})
        out.seed("write_plan", std::string{'\1', state});
    out.seed("write_plan", std::string("\1\x55\0\0\0\4\1", 7));
    out.seed("write_plan", std::string("\0\0BPLN\1\0\0\0\2\0\0\0..", 16));
}

/// The keys of tables and of what stands below their sections.
void addKeys(std::set<std::string>& words, const io::TdfSection& section) {
    for (const auto& [kind, name] : section.order)
        if (kind == io::TdfSection::Entry::Kind::value)
            words.insert(name + "=");
        else
            addKeys(words, *section.child(name));
}

std::set<std::string> tableKeys(const fs::path& sources) {
    std::set<std::string> words;
    for (const auto& entry : fs::recursive_directory_iterator(sources)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".tdf" || extension == ".fbi")
            addKeys(words, io::parseTdf(readText(entry.path())));
    }
    return words;
}

std::set<std::string> mapDescriptionWords() {
    std::set<std::string> words;
    for (const char* const word :
         {"[GlobalHeader]", "[Schema 0]", "[Schema 1]", "[specials]", "[units]", "[features]",
          "[unit0]", "specialwhat=StartPos", "XPos=", "ZPos=", "Unitname=", "Featurename=",
          "Player=", "Angle=", "HealthPercentage=", "{", "}", "="})
        words.emplace(word);
    return words;
}

std::set<std::string> opcodeWords() {
    std::set<std::string> words;
    for (const unitview::OpcodeRow& row : unitview::opcodeTable()) {
        io::ByteWriter word;
        word.u32(row.value);
        words.emplace(io::asText(word.view()));
    }
    return words;
}

std::set<std::string> definitionWords() {
    std::set<std::string> words = {"[UNITINFO]", "[CANBUILD]", "{",  "}", "=",
                                   ";",          "//",         "/*", "*/"};
    io::forEachFbiKey(io::FbiUnitInfo{}, [&](std::string_view key, const auto&) {
        words.insert(std::string(key) + "=");
    });
    return words;
}

/// Spaced as people do who write such files by hand.
constexpr std::string_view kLooseDefinition =
    "// one\r\n[UNITINFO]\r\n{\r\n\tName = Two words ;  // why\r\n"
    "  MaxDamage =  12;Limit=3; /* both */\r\n\t[CANBUILD] { a = b; }\r\n}";

void collect(const fs::path& data, const fs::path& sources, Output& out) {
    io::CompositeVirtualFileSystem files;
    const fs::path mods[] = {data / "mod", data / "faulty"};
    io::buildLayers(files, mods, data / "game", data / "maps");
    useMountedFiles(out, files, "");
    useArchives(out, data);
    for (const int length : {10, 1000, 70000})
        for (const char* const text : {"a", "some text that comes again "}) {
            std::string content;
            while (content.size() < static_cast<std::size_t>(length)) content += text;
            content.resize(std::min<std::size_t>(content.size(), 65536));
            const io::Bytes bytes(content.begin(), content.end());
            out.seed("chunk", "\x01" + std::string(io::asText(io::encodeHpiChunk(bytes))));
        }
    makeArchives(out);
    makeMaps(out);
    makeMods(out, data);
    makePlans(out);
    makeBattles(out, tableKeys(sources));
    for (const Use& use : uses())
        if (use.extension == ".cob" && use.prefix.ends_with('\x01'))
            out.seed(use.target,
                     use.prefix.substr(0, use.prefix.size() - 1) + '\0' + everyInstruction());
    for (const char* const changes : {"\x01maxdamage=1\n", "\x01Name\n", "\x02New=1\nname= b \n"})
        out.seed("fbi_edit", changes + std::string(kLooseDefinition));
    out.seed("lint_suppressions",
             R"({"schema":1,"global":{"C1":["Create"]},"perUnit":{"FENTILL":{"C2":["Aim"]}}})");
    out.seed("unit_ir", "{}");
    out.seed("bos_compiler", std::string(1, '\0') +
                                 "#define TWO(x) ((x) << 1)\n#if defined A && TWO(3) >= 6 || !B\n"
                                 "piece base;\n#elif 1 ? 2 % 3 : ~4\n#else\n#endif\n"
                                 "Create() { sleep TWO(100); }\n");

    out.dictionary("bos_compiler", useSources(out, sources));
    out.dictionary("ota", mapDescriptionWords());
    for (const char* const target : {"world", "mod"}) out.dictionary(target, tableKeys(sources));
    for (const char* const target :
         {"cob", "disassembler", "lints", "interpreter", "two_interpreters"})
        out.dictionary(target, opcodeWords());
    for (const char* const target : {"tdf", "fbi_edit"}) out.dictionary(target, definitionWords());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: orb-fuzz-seeds SAMPLE_DATA SAMPLE_SOURCES OUT\n";
        return 2;
    }
    const QuietLog quiet;
    Output out(argv[3]);
    collect(argv[1], argv[2], out);
    return 0;
}
