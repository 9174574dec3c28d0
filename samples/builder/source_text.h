#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orb::samples {

/// A sample source, read line by line as words between blanks. A line that begins with "#" is a
/// comment; blank lines and comments are skipped. Everything that finds a mistake throws
/// std::runtime_error "FILE:LINE: text".
class SourceText {
public:
    SourceText(std::string name, std::string_view text);
    /// Reads `directory`/`name`; messages show `directory`/`name` too.
    static SourceText read(const std::filesystem::path& directory, const std::string& name);

    /// Moves on to the next line with words; false at the end.
    bool next();
    /// The following line as it stands, comment or not; fails at the end.
    const std::string& nextRaw();

    const std::vector<std::string>& words() const { return words_; }
    /// Fails with "expected WHAT" when the line has no such word.
    const std::string& word(std::size_t index, std::string_view what) const;
    float number(std::size_t index, std::string_view what) const;
    int integer(std::size_t index, std::string_view what) const;

    /// The number of the current line, counted from 1.
    std::size_t line() const { return line_; }
    [[noreturn]] void fail(const std::string& text) const { fail(text, line_); }
    [[noreturn]] void fail(const std::string& text, std::size_t line) const;

private:
    std::string name_;
    std::vector<std::string> lines_;
    std::size_t line_ = 0;
    std::vector<std::string> words_;
};

/// The whole text as a floating point number; false when it is none.
bool parseNumber(std::string_view text, double& value);

}  // namespace orb::samples
