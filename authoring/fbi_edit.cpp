#include "authoring/fbi_edit.h"

#include <algorithm>

#include "io/ascii.h"
#include "io/formats/fbi.h"
#include "io/formats/tdf_scanner.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

using std::string_view;

constexpr string_view kBlanks = " \t";
constexpr string_view kLineBreaks = "\r\n";
constexpr const char* kMalformed = "cannot edit: the text around a changed key is malformed";

struct Assignment {
    string_view key;
    string_view value;
    /// Just behind the ";", or the text's end without one.
    std::size_t end = 0;
    std::size_t depth = 0;
    /// Directly in [UNITINFO].
    bool isUnitInfo = false;
};

/// Every assignment of a text, and where [UNITINFO] can be continued.
struct Scan {
    std::vector<Assignment> assignments;
    /// Behind the last item of the last [UNITINFO], or behind its "{".
    std::optional<std::size_t> continuation;
};

class ScanSink {
public:
    void attach(const io::TdfScanner<ScanSink>& scanner) { scanner_ = &scanner; }

    void openSection(string_view name) {
        if (++depth_ != 1) return;
        inUnitInfo_ = io::equalsIgnoringCase(name, io::kUnitInfoSection);
        if (inUnitInfo_) scan.continuation = scanner_->position();
    }
    void closeSection() {
        if (depth_-- == 2) continueHere();
    }
    void value(string_view key, string_view text) {
        const bool isUnitInfo = depth_ == 1 && inUnitInfo_;
        scan.assignments.push_back({key, text, scanner_->position(), depth_, isUnitInfo});
        if (isUnitInfo) continueHere();
    }

    Scan scan;

private:
    void continueHere() {
        if (inUnitInfo_) scan.continuation = scanner_->position();
    }

    const io::TdfScanner<ScanSink>* scanner_ = nullptr;
    std::size_t depth_ = 0;
    bool inUnitInfo_ = false;
};

Scan scanText(string_view text) {
    ScanSink sink;
    io::TdfScanner<ScanSink> scanner(text, sink);
    sink.attach(scanner);
    scanner.run();
    return std::move(sink.scan);
}

/// A stretch of the text and what takes its place.
struct Splice {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::string replacement;
};

std::string apply(string_view text, std::vector<Splice> splices) {
    std::ranges::stable_sort(splices, {}, &Splice::begin);
    std::string result;
    std::size_t position = 0;
    for (const Splice& splice : splices) {
        result += text.substr(position, splice.begin - position);
        result += splice.replacement;
        position = splice.end;
    }
    return result += text.substr(position);
}

/// How a text writes its statements.
struct Style {
    /// Between two statements: a line break and an indentation, or what separates them on a line.
    std::string separator;
    std::string assign = "=";
    std::string terminator = ";";
};

string_view lineBreakOf(string_view text) {
    const std::size_t end = text.find('\n');
    return end != string_view::npos && end > 0 && text[end - 1] == '\r' ? "\r\n" : "\n";
}

class Editor {
public:
    explicit Editor(string_view text) : text_(text), scan_(scanText(text)) {
        if (!scan_.continuation) throw RequestError(kNoUnitInfo);
        readStyle();
    }

    /// Changes and removes what is there.
    FbiEdit change(std::span<const FbiChange> changes) {
        FbiEdit result;
        for (const FbiChange& change : changes) {
            const auto assignments = assignmentsOf(change.key);
            if (assignments.empty()) continue;
            const Assignment& last = *assignments.back();
            if (change.value &&
                io::fbiValueReadsAs(last.key, last.value, io::tdfTrimmed(*change.value)))
                continue;
            if (change.value)
                replaceValue(last, io::tdfTrimmed(*change.value));
            else
                for (const Assignment* assignment : assignments) remove(*assignment);
            result.changed.emplace_back(last.key);
        }
        result.text = finish(changes);
        return result;
    }

    /// Adds what is not there.
    FbiEdit add(std::span<const FbiChange> changes) {
        FbiEdit result;
        std::string added;
        for (const auto& [key, value] : changes) {
            if (!value || !assignmentsOf(key).empty()) continue;
            added += style_.separator;
            added.append(key).append(style_.assign);
            added.append(io::tdfTrimmed(*value)).append(style_.terminator);
            result.changed.push_back(key);
        }
        if (!added.empty()) insert(added);
        result.text = finish(changes);
        return result;
    }

private:
    std::size_t offsetOf(string_view part) const {
        return static_cast<std::size_t>(part.data() - text_.data());
    }
    std::size_t endOf(string_view part) const { return offsetOf(part) + part.size(); }

    std::vector<const Assignment*> assignmentsOf(string_view key) const {
        std::vector<const Assignment*> found;
        for (const Assignment& assignment : scan_.assignments)
            if (assignment.isUnitInfo && io::equalsIgnoringCase(assignment.key, key))
                found.push_back(&assignment);
        return found;
    }

    /// From the blanks before a position on its line, back to the line break in front of them.
    std::size_t separatorStart(std::size_t position) const {
        const std::size_t last = text_.substr(0, position).find_last_not_of(kBlanks);
        const std::size_t begin = last == string_view::npos ? 0 : last + 1;
        if (begin == 0 || text_[begin - 1] != '\n') return begin;
        return begin >= 2 && text_[begin - 2] == '\r' ? begin - 2 : begin - 1;
    }

    void readStyle() {
        style_.separator = std::string(lineBreakOf(text_)) + '\t';
        for (const Assignment& assignment : scan_.assignments)
            if (assignment.isUnitInfo) takeStyle(assignment);
    }

    void takeStyle(const Assignment& model) {
        const auto isOneLine = [](string_view part) {
            return part.find_first_of(kLineBreaks) == string_view::npos;
        };
        const std::size_t key = offsetOf(model.key);
        const std::size_t separator = separatorStart(key);
        style_.separator = text_.substr(separator, key - separator);
        const string_view assign =
            text_.substr(endOf(model.key), offsetOf(model.value) - endOf(model.key));
        const string_view terminator =
            text_.substr(endOf(model.value), model.end - endOf(model.value));
        style_.assign = isOneLine(assign) ? assign : "=";
        style_.terminator =
            isOneLine(terminator) && terminator.ends_with(io::kTdfValueEnd) ? terminator : ";";
    }

    /// Where a ";" was forgotten the value holds the next statements too, which nobody asked to
    /// change.
    void requireOneLine(const Assignment& assignment) const {
        const bool goesOn = assignment.value.find_first_of(kLineBreaks) != string_view::npos;
        const std::size_t assign = endOf(assignment.key);
        const bool beginsLate =
            text_.substr(assign, offsetOf(assignment.value) - assign).find_first_of(kLineBreaks) !=
            string_view::npos;
        if (goesOn || (beginsLate && assignment.value.find('=') != string_view::npos))
            throw RequestError(std::string(kMalformed) + ": the value of \"" +
                               std::string(assignment.key) + "\" runs over the end of its line");
    }

    void replaceValue(const Assignment& assignment, string_view value) {
        requireOneLine(assignment);
        splices_.push_back(
            {offsetOf(assignment.value), endOf(assignment.value), std::string(value)});
    }

    void remove(const Assignment& assignment) {
        requireOneLine(assignment);
        std::size_t begin = offsetOf(assignment.key);
        std::size_t end = assignment.end;
        const std::size_t lineBegin = text_.substr(0, begin).find_last_not_of(kBlanks) + 1;
        const std::size_t rest = std::min(text_.find_first_not_of(kBlanks, end), text_.size());
        const bool startsLine = lineBegin == 0 || text_[lineBegin - 1] == '\n';
        const bool endsLine =
            rest == text_.size() || text_[rest] == '\n' || text_.substr(rest).starts_with("\r\n");
        if (startsLine && endsLine) {
            begin = lineBegin;
            end = rest == text_.size() ? rest : text_.find('\n', rest) + 1;
        }
        splices_.push_back({begin, end, {}});
    }

    /// Where the line that goes on at `position` ends, if nothing but comments follow; else there.
    std::size_t behindComments(std::size_t position) const {
        for (;;) {
            const std::size_t rest =
                std::min(text_.find_first_not_of(kBlanks, position), text_.size());
            const std::size_t lineEnd = std::min(text_.find('\n', rest), text_.size());
            const string_view line = text_.substr(rest, lineEnd - rest);
            if (line.starts_with(io::kTdfLineComment))
                return line.ends_with('\r') ? lineEnd - 1 : lineEnd;
            if (!line.starts_with(io::kTdfCommentBegin)) return position;
            const std::size_t end = line.find(io::kTdfCommentEnd, io::kTdfCommentBegin.size());
            if (end == string_view::npos) return position;
            position = rest + end + io::kTdfCommentEnd.size();
        }
    }

    /// New statements stand where the section goes on; on lines of their own, behind comments that
    /// belong to the line above.
    void insert(const std::string& statements) {
        std::size_t position = *scan_.continuation;
        if (kLineBreaks.find(statements.front()) != string_view::npos)
            position = behindComments(position);
        // The last value of a text may lack its ";".
        const auto& all = scan_.assignments;
        const bool isOpen =
            !all.empty() && all.back().end == position && text_[position - 1] != io::kTdfValueEnd;
        std::string inserted = isOpen ? ";" : "";
        inserted += statements;
        splices_.push_back({position, position, std::move(inserted)});
    }

    std::string finish(std::span<const FbiChange> changes) {
        std::string edited = apply(text_, std::move(splices_));
        requireOthersUnchanged(edited, changes);
        return edited;
    }

    /// Malformed text may read otherwise without the statement that stood in it.
    void requireOthersUnchanged(string_view edited, std::span<const FbiChange> changes) const {
        const auto others = [&](const Scan& scan) {
            std::vector<Assignment> kept;
            for (const Assignment& assignment : scan.assignments)
                if (!assignment.isUnitInfo ||
                    std::ranges::none_of(changes, [&](const FbiChange& change) {
                        return io::equalsIgnoringCase(change.key, assignment.key);
                    }))
                    kept.push_back(assignment);
            return kept;
        };
        const auto readsAlike = [](const Assignment& a, const Assignment& b) {
            return a.key == b.key && a.value == b.value && a.depth == b.depth &&
                   a.isUnitInfo == b.isUnitInfo;
        };
        const auto before = others(scan_);
        const auto after = others(scanText(edited));
        if (!std::equal(before.begin(), before.end(), after.begin(), after.end(), readsAlike))
            throw RequestError(kMalformed);
    }

    string_view text_;
    Scan scan_;
    Style style_;
    std::vector<Splice> splices_;
};

/// Line breaks, and the NUL at which other programs end a text.
bool breaksLine(string_view text) {
    return text.find_first_of(string_view("\r\n\0", 3)) != string_view::npos;
}

}  // namespace

void checkFbiChanges(std::span<const FbiChange> changes) {
    for (const FbiChange& change : changes) {
        const string_view key = change.key;
        const auto refuseKey = [&](const char* reason) {
            throw RequestError("bad key \"" + change.key + "\": " + reason);
        };
        if (io::tdfTrimmed(key).empty()) refuseKey("it is empty");
        if (io::tdfTrimmed(key) != key) refuseKey("it begins or ends with white space");
        if (key.starts_with(io::kTdfLineComment) || key.starts_with(io::kTdfCommentBegin))
            refuseKey("it begins with a comment");
        if (key.find_first_of(io::kTdfKeyEnds) != string_view::npos || breaksLine(key))
            refuseKey("it contains one of \"=;{}[]\", a line break or a NUL");
        if (std::ranges::count_if(changes, [&](const FbiChange& other) {
                return io::equalsIgnoringCase(other.key, key);
            }) > 1)
            refuseKey("it is given twice");
        if (change.value && (change.value->find(io::kTdfValueEnd) != string_view::npos ||
                             breaksLine(*change.value)))
            throw RequestError("bad value of \"" + change.key +
                               "\": it contains a \";\", a line break or a NUL");
    }
}

FbiEdit editFbi(string_view text, std::span<const FbiChange> changes) {
    FbiEdit changed = Editor(text).change(changes);
    FbiEdit result = Editor(changed.text).add(changes);
    result.changed.insert(result.changed.begin(), changed.changed.begin(), changed.changed.end());
    return result;
}

}  // namespace orb::unitview
