#pragma once

#include <cstddef>
#include <string_view>

#include "io/formats/tdf_text.h"

// The text format, with white space and comments ("//" to the line's end, "/* */") between items:
//
//   body    = { section | value | "}" ends the body | anything else is skipped }
//   section = "[" name "]" "{" body "}"      a repeated name goes on in the same section
//   value   = key "=" text ";"               the text may hold anything but ";", comments included
//
// A body also ends with the text.

namespace orb::io {

/// Sections nest at most this deep below the root; deeper ones are skipped to their closing brace.
inline constexpr std::size_t kMaxTdfNesting = 256;

/// Walks a text once and tells a sink what it finds, as views into the text:
///   openSection(name)   a section's body begins; a name that occurs again goes on in that section
///   closeSection()      the innermost body ends; bodies open at the text's end are not closed
///   value(key, text)    a value of the innermost body
/// Sections nested deeper than kMaxTdfNesting are skipped to their closing brace. Never fails.
/// A sink that wants to know what means nothing has two more:
///   skipped(text)       text that is neither section nor value
///   ended()             a "}" that closes nothing ends the text; the position is behind it
template <typename Sink>
class TdfScanner {
public:
    TdfScanner(std::string_view text, Sink& sink) : text_(text), sink_(sink) {}

    /// Where the scan stands: within a sink's openSection just behind the "{", within closeSection
    /// just behind the "}", within value behind its ";" if there is one.
    std::size_t position() const { return position_; }

    void run() {
        for (;;) {
            skipBlank();
            if (atEnd()) return;
            switch (text_[position_]) {
                case '}':
                    if (!closeSection()) return;
                    break;
                case '[':
                    readHeader();
                    break;
                default:
                    readValue();
                    break;
            }
        }
    }

private:
    bool atEnd() const { return position_ >= text_.size(); }
    bool startsWith(std::string_view token) const {
        return text_.compare(position_, token.size(), token) == 0;
    }

    /// Consumes up to the next `delimiter`, which stays, or to the end of the text.
    std::string_view takeUntil(char delimiter) {
        const std::size_t start = position_;
        const std::size_t found = text_.find(delimiter, start);
        position_ = found == std::string_view::npos ? text_.size() : found;
        return text_.substr(start, position_ - start);
    }

    void consumeIf(char c) {
        if (!atEnd() && text_[position_] == c) ++position_;
    }

    void skipSpace() { skipWhile(isTdfSpace); }

    /// Counts in a local variable, which no character that is read can be taken to alias.
    template <typename Predicate>
    void skipWhile(Predicate matches) {
        std::size_t at = position_;
        while (at < text_.size() && matches(text_[at])) ++at;
        position_ = at;
    }

    void skipBlank() {
        for (;;) {
            skipSpace();
            if (atEnd() || text_[position_] != '/') return;
            if (startsWith(kTdfLineComment)) {
                takeUntil('\n');
            } else if (startsWith(kTdfCommentBegin)) {
                const std::size_t end =
                    text_.find(kTdfCommentEnd, position_ + kTdfCommentBegin.size());
                position_ =
                    end == std::string_view::npos ? text_.size() : end + kTdfCommentEnd.size();
            } else {
                return;
            }
        }
    }

    /// False when the brace ends the text's own body.
    bool closeSection() {
        ++position_;
        if (depth_ == 0) {
            if constexpr (requires { sink_.ended(); }) sink_.ended();
            return false;
        }
        if (depth_-- <= kMaxTdfNesting) sink_.closeSection();
        return true;
    }

    void skip(std::size_t start) {
        if constexpr (requires { sink_.skipped(text_); })
            sink_.skipped(tdfTrimmedAtEnd(text_.substr(start, position_ - start)));
    }

    void readHeader() {
        const std::size_t start = position_++;
        const std::string_view name = tdfTrimmedAtEnd(takeUntil(']'));
        consumeIf(']');
        skipBlank();
        if (atEnd() || text_[position_] != '{') return skip(start);
        ++position_;
        if (++depth_ <= kMaxTdfNesting) sink_.openSection(name);
    }

    void readValue() {
        const std::size_t start = position_;
        skipWhile([](char c) { return !endsTdfKey(c); });
        if (position_ == start) {  // a stray "=", ";", "{" or "]"
            ++position_;
            return skip(start);
        }
        const std::string_view key = tdfTrimmedAtEnd(text_.substr(start, position_ - start));
        if (atEnd() || text_[position_] != '=') return skip(start);
        ++position_;
        skipSpace();
        const std::string_view value = tdfTrimmedAtEnd(takeUntil(kTdfValueEnd));
        consumeIf(kTdfValueEnd);
        if (depth_ <= kMaxTdfNesting) sink_.value(key, value);
    }

    std::string_view text_;
    std::size_t position_ = 0;
    /// Bodies open around the position.
    std::size_t depth_ = 0;
    Sink& sink_;
};

}  // namespace orb::io
