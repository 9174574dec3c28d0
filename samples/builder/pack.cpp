#include "samples/builder/pack.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "io/archive/hpi_writer.h"

namespace orb::samples {
namespace {

/// A pattern is a path, or the beginning of one followed by "*".
bool matches(std::string_view path, std::string_view pattern) {
    if (!pattern.ends_with('*')) return path == pattern;
    return path.starts_with(pattern.substr(0, pattern.size() - 1));
}

/// Takes the files out of `files` that a pattern from word `firstWord` on names.
FileSet takeMatching(const SourceText& script, std::size_t firstWord, FileSet& files) {
    FileSet taken;
    for (std::size_t i = firstWord; i < script.words().size(); ++i) {
        const auto before = taken.size();
        for (auto file = files.begin(); file != files.end();) {
            const auto here = file++;
            if (matches(here->first, script.words()[i])) taken.insert(files.extract(here));
        }
        if (taken.size() == before)
            script.fail(fmt::format("'{}' names no file that is left", script.words()[i]));
    }
    return taken;
}

io::Bytes packArchive(FileSet&& files) {
    std::vector<io::HpiInputFile> inputs;
    for (auto& [path, content] : files) inputs.push_back({path, std::move(content)});
    return io::writeHpi(inputs);
}

io::Bytes& fileToDamage(const SourceText& script, FileSet& files) {
    const auto found = files.find(script.word(1, "a file"));
    if (found == files.end()) script.fail(fmt::format("no file '{}' yet", script.words()[1]));
    return found->second;
}

/// "OFFSET" or "after TEXT+OFFSET" from word 2 on; `next` becomes the word behind it.
std::size_t pokeOffset(const SourceText& script, const io::Bytes& bytes, std::size_t& next) {
    next = 3;
    if (script.word(2, "an offset") != "after")
        return static_cast<std::size_t>(std::max(0, script.integer(2, "an offset")));
    next = 4;
    const std::string& place = script.word(3, "TEXT+OFFSET");
    const auto plus = place.rfind('+');
    double offset = 0;
    if (plus == std::string::npos || !parseNumber(place.substr(plus + 1), offset) || offset < 0)
        script.fail(fmt::format("expected TEXT+OFFSET but found '{}'", place));
    const auto found = std::search(bytes.begin(), bytes.end(), place.begin(),
                                   place.begin() + static_cast<std::ptrdiff_t>(plus));
    if (found == bytes.end()) script.fail(fmt::format("the file does not hold '{}'", place));
    return static_cast<std::size_t>(found - bytes.begin()) + static_cast<std::size_t>(offset);
}

void poke(const SourceText& script, io::Bytes& bytes) {
    std::size_t word = 0;
    std::size_t offset = pokeOffset(script, bytes, word);
    for (; word < script.words().size(); ++word, ++offset) {
        if (offset >= bytes.size()) script.fail("the file is shorter than that");
        const std::string& digits = script.words()[word];
        const char* last = digits.data() + digits.size();
        const auto [end, error] = std::from_chars(digits.data(), last, bytes[offset], 16);
        if (error != std::errc() || end != last)
            script.fail(fmt::format("expected a hexadecimal byte but found '{}'", digits));
    }
}

}  // namespace

FileSet packRoot(SourceText& script, FileSet files) {
    FileSet packed;
    while (script.next()) {
        const std::string& verb = script.words()[0];
        if (verb == "archive") {
            packed[script.word(1, "the archive's name")] =
                packArchive(takeMatching(script, 2, files));
        } else if (verb == "loose") {
            packed.merge(takeMatching(script, 1, files));
        } else if (verb == "cut") {
            fileToDamage(script, packed)
                .resize(static_cast<std::size_t>(std::max(0, script.integer(2, "a length"))));
        } else if (verb == "poke") {
            poke(script, fileToDamage(script, packed));
        } else {
            script.fail(fmt::format("unknown line '{}'", verb));
        }
    }
    if (!files.empty()) script.fail(fmt::format("'{}' goes nowhere", files.begin()->first));
    return packed;
}

}  // namespace orb::samples
