#include "bos/words.h"

#include <algorithm>
#include <vector>

#include "bos/name_table.h"
#include "bos/statement_forms.h"

namespace orb::unitview::bos {
namespace {

struct WordRow {
    std::string_view text;
    Word word;
};

constexpr WordRow kWords[] = {
    {"piece", Word::piece},
    {"static-var", Word::staticVar},
    {"var", Word::var},
    {"if", Word::ifWord},
    {"else", Word::elseWord},
    {"while", Word::whileWord},
    {"for", Word::forWord},
    {"return", Word::returnWord},
    {"start-script", Word::startScript},
    {"call-script", Word::callScript},
    {"rand", Word::rand},
    {"get", Word::get},
    {"true", Word::trueWord},
    {"false", Word::falseWord},
    {"and", Word::andWord},
    {"or", Word::orWord},
    {"xor", Word::xorWord},
    {"not", Word::notWord},
    {kAxisNames[0], Word::xAxis},
    {kAxisNames[1], Word::yAxis},
    {kAxisNames[2], Word::zAxis},
    {"unknown_unit_value", Word::unknownUnitValue},
    {"__words", Word::words},
    {"dont-shadow", Word::dontShadow},
};

struct Vocabulary {
    IgnoringCaseMap<Word> words;
    std::vector<std::string_view> hyphenated;  // longest first

    Vocabulary() {
        for (const WordRow& row : kWords) add(row.text, row.word);
        for (const StatementForm& form : statementForms()) add(form.keyword, Word::statement);
        std::ranges::sort(hyphenated, std::ranges::greater{}, &std::string_view::size);
    }

    void add(std::string_view text, Word word) {
        if (!words.try_emplace(text, word).second) return;
        if (text.find('-') != std::string_view::npos) hyphenated.push_back(text);
    }
};

const Vocabulary& vocabulary() {
    static const Vocabulary instance;
    return instance;
}

}  // namespace

Word wordOf(std::string_view text) {
    const auto& words = vocabulary().words;
    const auto found = words.find(text);
    return found == words.end() ? Word::none : found->second;
}

std::size_t hyphenatedWordLength(std::string_view text) {
    for (const std::string_view word : vocabulary().hyphenated) {
        const bool endsHere = text.size() <= word.size() || !isNamePart(text[word.size()]);
        if (endsHere && io::equalsIgnoringCase(text.substr(0, word.size()), word))
            return word.size();
    }
    return 0;
}

}  // namespace orb::unitview::bos
