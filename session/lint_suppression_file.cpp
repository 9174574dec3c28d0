#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include <nlohmann/json.hpp>

#include "io/files/replace_file.h"
#include "io/path_text.h"
#include "server/logger.h"
#include "session/lint_suppressions.h"

// {"perUnit": {UNIT: {code: [target…]}}, "global": {code: [target…]}}

namespace orb::unitview {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int kIndent = 2;
/// A rule takes some forty bytes; a sparse file could claim any size.
constexpr std::uintmax_t kMaxFileBytes = 1 << 22;
/// The deepest rules lie within four levels; every level takes memory while it is open.
constexpr std::size_t kMaxNesting = 64;

/// Takes the rules from a file piece by piece, so that everything before a syntax error and
/// everything beside a value of the wrong type counts.
class RuleReader : public nlohmann::json_sax<json> {
public:
    explicit RuleReader(LintSuppressions& rules) : rules_(rules) {}

    /// What is wrong with the file first, or empty.
    const std::string& error() const { return error_; }

    bool null() override { return take("null"); }
    bool boolean(bool) override { return take("boolean"); }
    bool number_integer(number_integer_t) override { return take("number"); }
    bool number_unsigned(number_unsigned_t) override { return take("number"); }
    bool number_float(number_float_t, const string_t&) override { return take("number"); }
    bool binary(binary_t&) override { return take("binary"); }
    bool string(string_t& value) override {
        if (expected() == "string") addRule(value);
        return take("string");
    }
    bool start_object(std::size_t) override { return open("object"); }
    bool start_array(std::size_t) override { return open("array"); }
    bool key(string_t& name) override {
        levels_.back().key = name;
        return true;
    }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const json::exception& error) override {
        note(error.what());
        return false;
    }

private:
    struct Level {
        /// Part of the file's form; below a part that is not, nothing is expected.
        bool isKnown = false;
        /// Of the member being read; empty in an array.
        std::string key;
    };

    bool isGlobal() const { return levels_.front().key == "global"; }

    /// The JSON type that belongs here, or empty when it does not matter.
    std::string_view expected() const {
        static constexpr std::string_view kGlobalForm[] = {"object", "object", "array", "string"};
        static constexpr std::string_view kPerUnitForm[] = {"object", "object", "object", "array",
                                                            "string"};
        const std::size_t depth = levels_.size();
        if (depth == 0) return kPerUnitForm[0];
        if (!levels_.back().isKnown) return {};
        if (isGlobal()) return kGlobalForm[depth];
        return levels_.front().key == "perUnit" ? kPerUnitForm[depth] : std::string_view();
    }

    bool take(std::string_view type) {
        const std::string_view wanted = expected();
        if (!wanted.empty() && wanted != type)
            note("type must be " + std::string(wanted) + ", but is " + std::string(type));
        return true;
    }

    bool open(std::string_view type) {
        take(type);
        if (levels_.size() == kMaxNesting) {
            note("nested too deeply");
            return false;
        }
        levels_.push_back({expected() == type, {}});
        return true;
    }

    bool close() {
        levels_.pop_back();
        return true;
    }

    void addRule(const std::string& target) {
        if (isGlobal())
            rules_.add({std::nullopt, levels_[1].key, target});
        else
            rules_.add({levels_[1].key, levels_[2].key, target});
    }

    void note(std::string text) {
        if (error_.empty()) error_ = std::move(text);
    }

    LintSuppressions& rules_;
    std::vector<Level> levels_;
    std::string error_;
};

bool isTooLarge(const fs::path& path) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    return !error && size > kMaxFileBytes;
}

void readRules(const fs::path& path, LintSuppressions& rules) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return;
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open() || isTooLarge(path)) {
        LogLine(LogLevel::warn) << "[lint-suppress] cannot read " << io::textFromPath(path);
        return;
    }
    const std::string text(std::istreambuf_iterator<char>(file), {});
    RuleReader reader(rules);
    if (json::sax_parse(text, &reader); !reader.error().empty())
        LogLine(LogLevel::warn) << "[lint-suppress] " << io::textFromPath(path) << ": "
                                << reader.error() << " — what cannot be read is left out";
}

std::string writeRules(const LintSuppressions& rules) {
    const json file = {{"perUnit", rules.perUnit()}, {"global", rules.global()}};
    return file.dump(kIndent, ' ', false, json::error_handler_t::replace) + '\n';
}

}  // namespace

LintSuppressions loadLintSuppressions(std::span<const fs::path> roots) {
    LintSuppressions rules;
    for (const fs::path& root : roots)
        if (!root.empty()) readRules(root / kLintSuppressFile, rules);
    return rules;
}

std::optional<fs::path> saveLintSuppressions(const LintSuppressions& rules,
                                             std::span<const fs::path> roots) {
    // An empty path would mean wherever the process happens to stand.
    const auto root = std::ranges::find_if(roots, [](const auto& path) { return !path.empty(); });
    if (root == roots.end()) return std::nullopt;
    std::error_code error;
    fs::create_directories(*root, error);
    if (error) throw std::runtime_error("create dir: " + error.message());
    fs::path path = *root / kLintSuppressFile;
    // Nothing of such a file has been read, so writing it anew would lose all its rules.
    if (isTooLarge(path)) throw std::runtime_error("open for write: " + io::textFromPath(path));
    io::replaceFile(io::systemFileOps(), path, io::asBytes(writeRules(rules)));
    return path;
}

}  // namespace orb::unitview
