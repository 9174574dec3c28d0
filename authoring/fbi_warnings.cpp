#include "authoring/fbi_warnings.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <span>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/formats/fbi.h"
#include "io/formats/tdf_scanner.h"

namespace orb::unitview {
namespace {

/// Keys are short words; what is longer is no misspelt one.
constexpr std::size_t kMaxKeyLength = 32;
/// In a key of so many letters two of them may be wrong, in a shorter one one.
constexpr std::size_t kLongKeyLength = 9;
/// Shorter keys are all nearly each other.
constexpr std::size_t kShortestCheckedKey = 4;
/// Sections never closed that are told of before anything else.
constexpr std::size_t kMaxToldOpen = 10;
/// What is quoted of a text.
constexpr std::size_t kMaxQuoted = 40;

constexpr auto kKnownKeys = std::to_array<std::string_view>({
#define FBI_KEY(type, field, key, defaultValue) key,
#include "io/formats/fbi_keys.def"
});

/// The letters that must be changed, left out, put in or exchanged with their neighbour to make one
/// word of the other.
std::size_t editDistance(std::string_view a, std::string_view b) {
    using Row = std::array<std::size_t, kMaxKeyLength + 1>;
    Row beforeLast{}, last{}, row{};
    for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({changed, last[j] + 1, row[j - 1] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = last;
        last = row;
    }
    return last[b.size()];
}

std::string_view withoutNumber(std::string_view key) {
    while (!key.empty() && key.back() >= '0' && key.back() <= '9') key.remove_suffix(1);
    return key;
}

/// The known key that an unknown one, in lower case, was probably meant to be; empty when there is
/// none. Keys that differ in their number only are each their own.
std::string_view likelyKey(const std::string& key) {
    if (key.size() < kShortestCheckedKey || key.size() > kMaxKeyLength) return {};
    std::string_view best;
    std::size_t bestDistance = key.size() < kLongKeyLength ? 2 : 3;
    for (const std::string_view known : kKnownKeys) {
        if (known == key || withoutNumber(known) == withoutNumber(key)) return {};
        if (known.size() < kShortestCheckedKey || known.size() > kMaxKeyLength) continue;
        if (const std::size_t distance = editDistance(key, known); distance < bestDistance) {
            bestDistance = distance;
            best = known;
        }
    }
    return best;
}

std::string quoted(std::string_view text) {
    return fmt::format("\"{}\"", text.substr(0, std::min(text.find('\n'), kMaxQuoted)));
}

class Finder {
public:
    explicit Finder(std::string_view text) : text_(text), scanner_(text, *this) {}

    std::vector<FbiWarning> run() {
        scanner_.run();
        // However much else there is, this is told: it may be what all of that comes from.
        found_.resize(
            std::min(found_.size(), kMaxFbiWarnings - std::min(open_.size(), kMaxToldOpen)));
        for (const Section& section : open_)
            add(section.position,
                fmt::format("section [{}] is never closed", section.name.substr(0, kMaxQuoted)));
        return located();
    }

    void openSection(std::string_view name) {
        const std::size_t parent = open_.empty() ? 0 : open_.back().id;
        const auto [known, isNew] =
            sections_.try_emplace({parent, io::upperCased(name)}, sections_.size() + 1);
        open_.push_back({name, known->second, positionOf(name) - 1});
    }
    void closeSection() { open_.pop_back(); }

    void value(std::string_view key, std::string_view text) {
        const std::size_t position = positionOf(key);
        if (open_.empty()) return add(position, quoted(key) + " stands outside of all sections");
        // A value may well go on in the next line; another key there was meant to be one.
        const std::size_t end = text.find('\n');
        if (end != std::string_view::npos && text.find('=', end) != std::string_view::npos)
            add(position, fmt::format("the value of {} runs over the end of its line: is a \";\" "
                                      "missing?",
                                      quoted(key)));
        if (!keys_[open_.back().id].insert(io::upperCased(key)).second)
            add(position, fmt::format("{} is given twice: the last one counts", quoted(key)));
        if (open_.size() > 1 || !io::equalsIgnoringCase(open_.back().name, io::kUnitInfoSection))
            return;
        if (isFull()) return;
        const std::string_view likely = likelyKey(io::lowerCased(key));
        if (!likely.empty())
            add(position, fmt::format("unknown key {}: is \"{}\" meant?", quoted(key), likely));
    }

    void skipped(std::string_view text) {
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        if (positionOf(text) == 0 && text == kByteOrderMark) return;
        if (text == ";") return;  // many write one behind a section's end
        add(positionOf(text), quoted(text) + (open_.empty() ? " stands outside of all sections"
                                                            : " is neither key nor section"));
    }
    void ended() {
        add(scanner_.position() - 1, "this \"}\" closes nothing: what follows is not read");
    }

private:
    struct Section {
        std::string_view name;
        /// The same for a section that is opened again, which goes on.
        std::size_t id = 0;
        std::size_t position = 0;
    };
    struct Found {
        std::size_t position = 0;
        std::string message;
    };

    std::size_t positionOf(std::string_view part) const {
        return static_cast<std::size_t>(part.data() - text_.data());
    }

    bool isFull() const { return found_.size() >= kMaxFbiWarnings; }

    void add(std::size_t position, std::string message) {
        if (!isFull()) found_.push_back({position, std::move(message)});
    }

    std::vector<FbiWarning> located() {
        std::ranges::stable_sort(found_, {}, &Found::position);
        std::vector<FbiWarning> warnings;
        warnings.reserve(found_.size());
        std::size_t line = 1, lineStart = 0;
        for (Found& each : found_) {
            for (std::size_t end = text_.find('\n', lineStart); end < each.position;
                 end = text_.find('\n', lineStart)) {
                ++line;
                lineStart = end + 1;
            }
            warnings.push_back({line, each.position - lineStart + 1, std::move(each.message)});
        }
        return warnings;
    }

    std::string_view text_;
    io::TdfScanner<Finder> scanner_;
    std::vector<Section> open_;
    /// The ids of sections by the id of the one around them and their upper-cased name.
    std::map<std::pair<std::size_t, std::string>, std::size_t> sections_;
    std::map<std::size_t, std::set<std::string>> keys_;
    std::vector<Found> found_;
};

}  // namespace

std::vector<FbiWarning> findFbiWarnings(std::string_view text) {
    return Finder(text).run();
}

}  // namespace orb::unitview
