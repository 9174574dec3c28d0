#pragma once

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "io/byte_cursor.h"

namespace orb::io {

/// The text that a reader refuses some bytes with, or "" when it reads them. Anything but a
/// std::runtime_error (bad_alloc from an announced size, say) fails the test.
template <typename Read>
std::string refusal(const Bytes& bytes, Read read) {
    try {
        read(bytes);
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

struct Refusal {
    Bytes file;
    /// "" for a file that is read.
    const char* text;
};

template <typename Read>
void expectRefusals(Read read, const std::vector<Refusal>& cases) {
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(refusal(cases[i].file, read), cases[i].text) << "case " << i;
}

/// Cuts a sound file at every byte and damages every byte in turn: the reader may refuse the
/// result, but neither crash nor throw anything else.
template <typename Read>
void expectSurvivesDamage(const Bytes& sound, Read read) {
    EXPECT_EQ(refusal(sound, read), "");
    for (std::size_t size = 0; size < sound.size(); ++size) {
        // in a buffer of its own, so that the sanitizer sees reads past the cut
        EXPECT_NO_THROW(refusal(Bytes(sound.begin(), sound.begin() + std::ptrdiff_t(size)), read));
    }
    for (std::size_t i = 0; i < sound.size(); ++i) {
        for (const int mask : {0x01, 0x80, 0xFF}) {
            Bytes damaged = sound;
            damaged[i] = static_cast<std::uint8_t>(damaged[i] ^ mask);
            EXPECT_NO_THROW(refusal(damaged, read)) << "byte " << i;
        }
    }
}

}  // namespace orb::io
