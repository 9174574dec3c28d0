#include <algorithm>
#include <optional>
#include <vector>

#include "authoring/fbi_edit.h"
#include "fuzzing.h"
#include "io/formats/tdf.h"
#include "session/request_error.h"

// A definition's text with changes: up to four lines "key=value" or "key" (removal), then the text.

namespace orb::fuzz {
namespace {

using unitview::FbiChange;

std::string trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(kSpace) + 1 - first));
}

std::vector<FbiChange> readChanges(Choices& choices) {
    std::vector<FbiChange> changes(choices.below(5));
    for (FbiChange& change : changes) {
        const std::string_view line = choices.until('\n');
        const std::size_t equals = line.find('=');
        change.key = line.substr(0, equals);
        if (equals != std::string_view::npos) change.value = line.substr(equals + 1);
    }
    return changes;
}

const FbiChange* changeOf(const std::vector<FbiChange>& changes, std::string_view key) {
    const auto found = std::ranges::find_if(
        changes, [&](const FbiChange& change) { return io::equalsIgnoringCase(change.key, key); });
    return found == changes.end() ? nullptr : &*found;
}

/// Of [UNITINFO] the changed keys have their new values; everything else reads as before.
void checkEffect(const io::TdfSection& before, const io::TdfSection& after,
                 const std::vector<FbiChange>& changes) {
    const io::TdfSection& oldInfo = *before.child("UNITINFO");
    const io::TdfSection& newInfo = *after.child("UNITINFO");
    for (const FbiChange& change : changes) {
        const auto read = newInfo.getString(change.key);
        require(read.has_value() == change.value.has_value(), "a changed key is set or gone");
        if (read) require(*read == trimmed(*change.value), "a changed key has its value");
    }
    for (const auto& [key, value] : oldInfo.values)
        if (!changeOf(changes, key))
            require(newInfo.getString(key) == std::string_view(value), "other keys stay");
    for (const auto& [key, value] : newInfo.values)
        require(changeOf(changes, key) || oldInfo.values.contains(key), "no key appears by itself");
    require(oldInfo.children.size() == newInfo.children.size() &&
                before.children.size() == after.children.size() && before.values == after.values,
            "everything else stays");
}

/// `part` is `whole` with some bytes left out.
bool isLeftOf(std::string_view part, std::string_view whole) {
    std::size_t found = 0;
    for (const char c : whole)
        if (found < part.size() && part[found] == c) ++found;
    return found == part.size();
}

/// One change alone touches no byte but those of its value or its statement.
void checkBytes(std::string_view before, std::string_view after, const FbiChange& change,
                std::optional<std::string_view> oldValue) {
    if (!change.value) return require(isLeftOf(after, before), "removing only leaves bytes out");
    const auto front =
        static_cast<std::size_t>(std::ranges::mismatch(before, after).in1 - before.begin());
    const std::string_view lost = before.substr(front);
    const std::string_view gained = after.substr(front);
    const auto ends = std::mismatch(lost.rbegin(), lost.rend(), gained.rbegin(), gained.rend());
    const auto lostCount = static_cast<std::size_t>(lost.rend() - ends.first);
    const auto gainedCount = static_cast<std::size_t>(gained.rend() - ends.second);
    require(lostCount <= (oldValue ? oldValue->size() : 0), "only the old value goes");
    if (oldValue) require(gainedCount <= change.value->size(), "only the new value comes");
}

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    const std::vector<FbiChange> changes = readChanges(choices);
    const std::string_view text = io::asText(choices.rest());
    const io::TdfSection before = io::parseTdf(text);
    try {
        unitview::checkFbiChanges(changes);
        const unitview::FbiEdit edit = unitview::editFbi(text, changes);
        require(!edit.changed.empty() || edit.text == text, "no change leaves the text");
        checkEffect(before, io::parseTdf(edit.text), changes);
        if (changes.size() == 1)
            checkBytes(text, edit.text, changes[0],
                       before.child("UNITINFO")->getString(changes[0].key));
        const unitview::FbiEdit again = unitview::editFbi(edit.text, changes);
        require(again.changed.empty() && again.text == edit.text,
                "the same edit again does nothing");
    } catch (const unitview::RequestError&) {
        return;
    }
}

}  // namespace orb::fuzz
