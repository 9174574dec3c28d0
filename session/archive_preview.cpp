#include "session/archive_preview.h"

#include <algorithm>
#include <span>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/formats/cob_file.h"
#include "io/formats/gaf.h"
#include "io/formats/png.h"
#include "io/out_of_memory.h"
#include "io/text_encoding.h"
#include "model/glb.h"
#include "model/piece_list.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

constexpr std::size_t kHexBytes = 256;

/// Animation files of the game have a few hundred entries; of more, the rest is only named.
constexpr std::size_t kMaxDescribedEntries = 4'096;

/// What every decoder gets.
struct PreviewInput {
    const io::Bytes& bytes;
    const PreviewOptions& options;
    const PreviewColors& colors;
    ArchivePreview& preview;
};

/// Where a character begins, at or before `end`.
std::size_t characterBefore(std::string_view text, std::size_t end) {
    const auto isContinuation = [](char c) { return (c & 0xC0) == 0x80; };
    while (end > 0 && isContinuation(text[end])) --end;
    return end;
}

void previewText(const PreviewInput& input) {
    std::string_view read = io::asText(input.bytes);
    // A character that is cut off would make another encoding of all.
    if (input.preview.truncated) read = read.substr(0, characterBefore(read, read.size() - 1));
    std::string text = io::decodeGameText(read).utf8;
    if (text.size() > input.options.maxBytes) {
        text.resize(characterBefore(text, input.options.maxBytes));
        input.preview.truncated = true;
    }
    input.preview.content = TextPreview{std::move(text)};
}

void previewPcx(const PreviewInput& input) {
    input.preview.content = pngFromPcx(input.bytes);
}

GafEntryPreview describeEntry(const PreviewInput& input, const std::string& name,
                              std::size_t index) {
    try {
        const io::GafPicture picture = io::readGafPicture(input.bytes, index);
        return {name, picture.frameCount, picture.firstFrame.width, picture.firstFrame.height};
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        return {name};
    }
}

/// The number of the entry that is asked for.
std::size_t chosenEntry(const PreviewOptions& options, std::span<const std::string> names) {
    if (!options.entryName) {
        if (options.entry > 0 && options.entry >= names.size())
            throw RequestError(fmt::format("no such entry: {}", options.entry));
        return options.entry;
    }
    const auto found = std::ranges::find_if(names, [&](const std::string& name) {
        return io::equalsIgnoringCase(name, *options.entryName);
    });
    if (found == names.end()) throw RequestError("no such entry: " + *options.entryName);
    return static_cast<std::size_t>(found - names.begin());
}

/// Shows one frame, the first of the first animation unless another is asked for.
void previewGaf(const PreviewInput& input) {
    const std::vector<std::string> names = io::readGafEntryNames(input.bytes);
    const std::size_t index = chosenEntry(input.options, names);
    auto& entries = input.preview.entries.emplace();
    std::size_t pixelsLeft = kMaxTexturePixels;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool isDescribed = i < kMaxDescribedEntries && pixelsLeft > 0;
        entries.push_back(isDescribed ? describeEntry(input, names[i], i)
                                      : GafEntryPreview{names[i]});
        pixelsLeft -= std::min<std::size_t>(
            pixelsLeft, std::size_t{entries.back().width} * entries.back().height);
    }
    if (input.options.frame == 0) {
        const io::GafPicture picture = io::readGafPicture(input.bytes, index);
        input.preview.content = pngFromGafFrame(picture.firstFrame, input.colors.palette);
        input.preview.truncated = picture.frameCount > 1 || names.size() > 1;
        return;
    }
    const io::GafEntry entry = io::readGafEntry(input.bytes, index);
    if (input.options.frame >= entry.frames.size())
        throw RequestError(fmt::format("no such frame: {}", input.options.frame));
    input.preview.content =
        pngFromGafFrame(entry.frames[input.options.frame], input.colors.palette);
    input.preview.truncated = true;
}

void previewPng(const PreviewInput& input) {
    const auto [width, height] = io::readPngSize(input.bytes);
    input.preview.content = PngPicture{width, height, input.bytes};
}

void previewModel(const PreviewInput& input) {
    const io::Model3doObject root = io::parse3do(input.bytes);
    ModelPreview model{pieceNames(root)};
    for (const auto& [piece, parent] : flattenPieces(root)) {
        model.vertexCount += piece->vertices.size();
        model.primitiveCount += piece->primitives.size();
    }
    input.preview.content = std::move(model);
    if (input.options.form == PreviewOptions::Form::glb)
        input.preview.glb = exportModel(root, input.colors.textures, input.colors.palette, {}).glb;
}

void previewScript(const PreviewInput& input) {
    const io::CobFile cob = io::parseCob(input.bytes);
    input.preview.content = ScriptPreview{io::scriptNames(cob), cob.pieces};
}

void previewBinary(const PreviewInput& input) {
    const std::size_t shown = std::min(input.bytes.size(), kHexBytes);
    BinaryPreview binary;
    for (std::size_t i = 0; i < shown; ++i)
        fmt::format_to(std::back_inserter(binary.hex), "{:02x}", input.bytes[i]);
    input.preview.content = std::move(binary);
    input.preview.truncated |= shown < input.bytes.size();
}

/// A form that is asked for, of the files that have it.
void requireForm(const std::string& path, std::uint64_t size, const PreviewOptions& options) {
    if (options.form == PreviewOptions::Form::glb && !io::endsWithIgnoringCase(path, ".3do"))
        throw RequestError("not a model: " + path);
    if (options.form == PreviewOptions::Form::wave && !io::endsWithIgnoringCase(path, ".wav"))
        throw RequestError("not a sound: " + path);
    if (options.form != PreviewOptions::Form::usual && size > kMaxPreviewBytes)
        throw RequestError("too large to show: " + path);
}

struct PreviewKind {
    std::string_view extension;
    void (*decode)(const PreviewInput&);
};
constexpr PreviewKind kPreviewKinds[] = {
    {".fbi", previewText},   {".tdf", previewText},  {".ota", previewText}, {".txt", previewText},
    {".bos", previewText},   {".h", previewText},    {".gui", previewText}, {".inf", previewText},
    {".ini", previewText},   {".json", previewText}, {".bat", previewText}, {".md", previewText},
    {".pcx", previewPcx},    {".gaf", previewGaf},   {".png", previewPng},  {".3do", previewModel},
    {".cob", previewScript},
};

}  // namespace

ArchivePreview previewFile(const std::string& path, const io::Bytes& bytes, std::uint64_t size,
                           const PreviewOptions& options, const PreviewColors& colors) {
    requireForm(path, size, options);
    ArchivePreview preview{path, size, bytes.size() < size, {}};
    if (options.form == PreviewOptions::Form::wave) {
        preview.content = SoundPreview{bytes};
        return preview;
    }
    const auto kind = std::ranges::find_if(kPreviewKinds, [&](const PreviewKind& row) {
        return io::endsWithIgnoringCase(path, row.extension);
    });
    const auto decode = kind == std::end(kPreviewKinds) ? previewBinary : kind->decode;
    if (preview.truncated && decode != previewText && decode != previewBinary)
        throw RequestError("too large to show: " + path);
    decode({bytes, options, colors, preview});
    return preview;
}

}  // namespace orb::unitview
