#include "io/text_encoding.h"

#include <gtest/gtest.h>

namespace orb::io {
namespace {

#define BAD "\xEF\xBF\xBD"

TEST(TextEncoding, FindsAndReplacesMalformedSequences) {
    const struct {
        std::string_view text, replaced;
    } cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"\xC2\x80 \xE0\xA0\x80 \xED\x9F\xBF \xF0\x90\x80\x80 \xF4\x8F\xBF\xBF",
         "\xC2\x80 \xE0\xA0\x80 \xED\x9F\xBF \xF0\x90\x80\x80 \xF4\x8F\xBF\xBF"},
        {"\x80", BAD},
        {"a\xFFz", "a" BAD "z"},
        {"\xC1\xBF", BAD BAD},                  // overlong
        {"\xE0\x9F\xBF", BAD BAD BAD},          // overlong
        {"\xED\xA0\x80", BAD BAD BAD},          // surrogate
        {"\xF0\x8F\xBF\xBF", BAD BAD BAD BAD},  // overlong
        {"\xF4\x90\x80\x80", BAD BAD BAD BAD},  // beyond U+10FFFF
        {"\xE2\x82", BAD},                      // breaks off at the end
        {"\xE2\x82z", BAD "z"},
        {"\xF0\x9F\x98\xE2\x82\xAC", BAD "\xE2\x82\xAC"},
    };
    for (const auto& [text, replaced] : cases) {
        EXPECT_EQ(replaceInvalidUtf8(text), replaced);
        EXPECT_EQ(isValidUtf8(text), text == replaced);
    }
}

TEST(TextEncoding, RestoresEveryByteOfGameText) {
    std::string allBytes;
    for (int i = 0; i < 256; ++i) allBytes.push_back(static_cast<char>(i));
    for (const std::string& bytes :
         {allBytes, std::string("Kr\xF6te \x80 5"), std::string("\x81\x8D\x8F\x90\x9D"),
          std::string("Kr\xC3\xB6te"), std::string()}) {
        const DecodedText text = decodeGameText(bytes);
        EXPECT_TRUE(isValidUtf8(text.utf8));
        EXPECT_EQ(encodeGameText(text.utf8, text.encoding), bytes);
    }
    const DecodedText text = decodeGameText("\xF6\x80\x81");
    EXPECT_EQ(text.utf8, "\xC3\xB6\xE2\x82\xAC\xC2\x81");
    EXPECT_EQ(text.encoding, TextEncoding::windows1252);
    EXPECT_EQ(decodeGameText("\xC3\xB6").encoding, TextEncoding::utf8);
}

TEST(TextEncoding, RefusesCharactersOutsideTheEncoding) {
    EXPECT_EQ(encodeGameText("\xE2\x82\xAC", TextEncoding::windows1252), "\x80");
    EXPECT_EQ(encodeGameText("\xC2\x80", TextEncoding::windows1252), std::nullopt);
    EXPECT_EQ(encodeGameText("\xE2\x86\x92", TextEncoding::windows1252), std::nullopt);
    EXPECT_EQ(encodeGameText("\xF0\x90\x82\xAC", TextEncoding::windows1252), std::nullopt);
    EXPECT_EQ(encodeGameText("\xFF", TextEncoding::windows1252), std::nullopt);
    EXPECT_EQ(encodeGameText("\xFF", TextEncoding::utf8), std::nullopt);
}

}  // namespace
}  // namespace orb::io
