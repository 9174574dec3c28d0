#pragma once

#include <map>

#include <nlohmann/json.hpp>

#include "fuzzing.h"
#include "io/json_nesting.h"
#include "session/mounted_data.h"

namespace orb::fuzz {

/// Request lines of an input for a session over a copy of the sample data. Paths on disk are made
/// to lie in the scratch folder, because requests write wherever they name (the kernel's sandbox
/// sees to it when this should miss one); and what was written there is undone in the end, so that
/// every input finds the same files.
class SandboxedRequests {
public:
    SandboxedRequests(io::ByteView input, std::size_t maxLines) {
        if (stateOf(folder()) != cleanState()) restore();
        Choices lines(input);
        while (!lines.isEmpty() && lineCount_ < maxLines) {
            text_ += confined(std::string(lines.until('\n'))) + '\n';
            ++lineCount_;
        }
    }
    SandboxedRequests(const SandboxedRequests&) = delete;
    SandboxedRequests& operator=(const SandboxedRequests&) = delete;

    /// One request a line.
    const std::string& text() const { return text_; }
    std::size_t lineCount() const { return lineCount_; }

    /// What is mounted before the first request.
    unitview::DataRootsRequest dataRoots() const {
        return {.taDataPath = folder() / "data" / "mod",
                .modPaths = {folder() / "data" / "faulty"},
                .mapsPath = {}};
    }

private:
    using Path = std::filesystem::path;
    using json = nlohmann::json;
    using State = std::map<std::string, std::pair<std::uintmax_t, std::filesystem::file_time_type>>;

    static Path folder() { return scratchFolder() / "session"; }

    static State stateOf(const Path& root) {
        State state;
        std::error_code error;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root, error)) {
            const std::uintmax_t size = entry.is_regular_file(error) ? entry.file_size(error) : 0;
            state[entry.path().string()] = {size, entry.last_write_time(error)};
        }
        return state;
    }

    static State& cleanState() {
        static State state;
        return state;
    }

    static void restore() {
        namespace fs = std::filesystem;
        const char* const data = std::getenv("ORB_FUZZ_DATA");
        require(data != nullptr, "ORB_FUZZ_DATA names the sample data");
        fs::remove_all(folder());
        fs::create_directories(folder() / "tmp");
        fs::copy(data, folder() / "data", fs::copy_options::recursive);
        cleanState() = stateOf(folder());
    }

    /// A path below the folder, whatever was asked for: "$DATA/..." and "$TMP/..." stand for the
    /// sample data and an empty folder, as in transcripts.
    static std::string confinedPath(const std::string& asked) {
        Path confined = asked.starts_with("$DATA") ? folder() / "data" : folder() / "tmp";
        const std::size_t start = asked.starts_with('$') ? asked.find('/') : 0;
        if (start == std::string::npos) return confined.string();
        for (const Path& part : Path(asked.substr(start)).relative_path())
            if (part != "..") confined /= part;
        return asked.empty() ? asked : confined.string();
    }

    /// Archives may be named relative to the data roots.
    static bool staysRelative(std::string_view key, const std::string& path) {
        return key == "path" && Path(path).is_relative() && !path.starts_with('$') &&
               path.find("..") == std::string::npos;
    }

    static void confine(json& value, const std::string& key) {
        constexpr std::string_view kPathMembers[] = {"path", "destination", "taDataPath",
                                                     "mapsPath", "modPaths"};
        if (value.is_object())
            for (auto& [name, member] : value.items()) confine(member, name);
        else if (value.is_array())
            for (json& element : value) confine(element, key);
        else if (value.is_string() && std::ranges::count(kPathMembers, key) > 0 &&
                 !staysRelative(key, value.get<std::string>()))
            value = confinedPath(value.get<std::string>());
    }

    static std::string confined(std::string line) {
        if (io::findJsonNestingBeyond(line, io::kMaxJsonNesting)) return line;
        json request = json::parse(line, nullptr, false);
        if (!request.is_object() || !request.contains("data")) return line;
        const json asked = request["data"];
        confine(request["data"], "");
        return request["data"] == asked ? line : request.dump();
    }

    std::string text_;
    std::size_t lineCount_ = 0;
};

}  // namespace orb::fuzz
