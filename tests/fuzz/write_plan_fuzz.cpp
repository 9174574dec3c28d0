#include <fstream>
#include <iterator>
#include <map>

#include "fuzzing.h"
#include "io/content_version.h"
#include "io/files/replace_file.h"
#include "io/files/write_plan.h"

// A plan of a write that lies in a mod's folder: one that was written here, with bytes of it
// changed, or just bytes. Whatever it says, each file is what it was or what was to be written, and
// nothing else is touched but what plans themselves leave behind.

namespace orb::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNames[] = {"a.fbi", "b.3do", "units/c.fbi", "../beside.fbi"};
constexpr std::string_view kOld = "as it was", kNew = "as it is to be";

fs::path folder() {
    return scratchFolder() / "plan" / "mod";
}

void write(const fs::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Two bits a file: whether there is an old one, and whether the new one lies beside it.
std::vector<io::PlannedFile> beginWrite(std::uint8_t state) {
    std::vector<io::PlannedFile> files;
    for (const char* const name : kNames) {
        io::PlannedFile& file = files.emplace_back();
        file.target = folder() / name;
        file.newVersion = io::contentVersion(bytesOf(kNew));
        if (state & 1) write(file.target, kOld);
        if (state & 1) file.oldVersion = io::contentVersion(bytesOf(kOld));
        if (!(state & 2)) write(io::temporaryPath(file.target), kNew);
        state = static_cast<std::uint8_t>(state >> 2);
    }
    return files;
}

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    fs::remove_all(scratchFolder() / "plan");
    fs::create_directories(folder() / "units");
    const bool isChanged = choices.flag();
    const std::vector<io::PlannedFile> files = beginWrite(choices.byte());
    const fs::path plan = io::planPath(folder());
    io::FileOps& ops = io::systemFileOps();
    require(io::writePlan(ops, plan, files), "a plan is written");
    if (isChanged) {
        std::string text = read(plan);
        while (!choices.isEmpty()) {
            const std::size_t at = choices.word() % text.size();
            text[at] = static_cast<char>(choices.byte());
        }
        write(plan, text);
    } else if (!choices.isEmpty()) {
        write(plan, io::asText(choices.rest()));
    }

    std::vector<std::string> before;
    for (const io::PlannedFile& file : files) before.push_back(read(file.target));
    const io::UnfinishedWrite result = io::finishWrite(ops, folder());
    require(result != io::UnfinishedWrite::none, "there was a plan");
    require(!fs::exists(plan), "a plan is dealt with once");
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string now = read(files[i].target);
        require(now == before[i] || now == kNew, "a file is the old one or the new one");
        if (result == io::UnfinishedWrite::givenUp)
            require(now == before[i], "what is given up changes nothing");
    }
    require(io::finishWrite(ops, folder()) == io::UnfinishedWrite::none, "it is over");
}

}  // namespace orb::fuzz
