#include "samples/builder/sound_text.h"

#include <fmt/format.h>

namespace orb::samples {
namespace {

constexpr std::uint32_t kSampleRate = 11025;  // mono, 8 bits
constexpr std::uint32_t kMaxToneMs = 10'000;
constexpr int kLoudness = 96;  // of 127

struct Tone {
    std::uint32_t frequency = 0;
    std::uint32_t milliseconds = 0;
};

/// A triangle wave that fades to silence, in integers so that every machine makes the same bytes.
void appendTone(io::Bytes& samples, Tone tone) {
    const std::uint32_t count = kSampleRate * tone.milliseconds / 1000;
    for (std::uint32_t i = 0; i < count; ++i) {
        const int phase =
            static_cast<int>(std::uint64_t{i} * tone.frequency * 512 / kSampleRate % 512);
        const int wave = phase < 256 ? phase - 128 : 383 - phase;
        const int fade = static_cast<int>((count - i) * 128 / count);
        const int level = tone.frequency == 0 ? 0 : wave * fade * kLoudness / (128 * 128);
        samples.push_back(static_cast<std::uint8_t>(128 + level));
    }
}

io::Bytes writeWav(const io::Bytes& samples) {
    const auto size = static_cast<std::uint32_t>(samples.size());
    const std::uint32_t padding = size & 1;
    io::ByteWriter out;
    out.text("RIFF");
    out.u32(36 + size + padding);
    out.text("WAVEfmt ");
    out.u32(16);
    out.u16(1);  // plain samples
    out.u16(1);  // one channel
    out.u32(kSampleRate);
    out.u32(kSampleRate);  // bytes a second
    out.u16(1);            // bytes a sample
    out.u16(8);            // bits a sample
    out.text("data");
    out.u32(size);
    out.bytes(samples);
    out.zeros(padding);
    return out.take();
}

Tone parseTone(const SourceText& source, const std::string& word) {
    const auto colon = word.find(':');
    double frequency = 0, milliseconds = 0;
    if (colon == std::string::npos || !parseNumber(word.substr(0, colon), frequency) ||
        !parseNumber(word.substr(colon + 1), milliseconds) || frequency < 0 ||
        frequency > kSampleRate || milliseconds < 0 || milliseconds > kMaxToneMs)
        source.fail(fmt::format("expected FREQUENCY:MILLISECONDS but found '{}'", word));
    return {static_cast<std::uint32_t>(frequency), static_cast<std::uint32_t>(milliseconds)};
}

}  // namespace

FileSet parseSounds(SourceText& source) {
    FileSet files;
    while (source.next()) {
        io::Bytes samples;
        for (std::size_t i = 1; i < source.words().size(); ++i)
            appendTone(samples, parseTone(source, source.words()[i]));
        if (!files.emplace(source.words()[0] + ".wav", writeWav(samples)).second)
            source.fail(fmt::format("sound '{}' is there already", source.words()[0]));
    }
    return files;
}

}  // namespace orb::samples
