#include "session/archive_preview.h"

#include <algorithm>
#include <functional>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/formats/cob_file.h"
#include "io/formats/gaf.h"
#include "io/formats/png.h"
#include "io/text_encoding.h"
#include "model/piece_list.h"
#include "session/archive_browser.h"

namespace orb::unitview {
namespace {

constexpr std::size_t kHexBytes = 256;

/// What every decoder gets: the file, the limit for text, and colours for pictures without any.
struct PreviewInput {
    const io::Bytes& bytes;
    std::size_t maxBytes;
    const io::Palette& palette;
    ArchivePreview& preview;
};

void previewText(const PreviewInput& input) {
    std::string text = io::decodeGameText(io::asText(input.bytes)).utf8;
    if (text.size() > input.maxBytes) {
        std::size_t end = input.maxBytes;
        const auto isContinuation = [](char c) { return (c & 0xC0) == 0x80; };
        while (end > 0 && isContinuation(text[end])) --end;
        text.resize(end);
        input.preview.truncated = true;
    }
    input.preview.content = TextPreview{std::move(text)};
}

void previewPcx(const PreviewInput& input) {
    input.preview.content = pngFromPcx(input.bytes);
}

/// Shows the first frame of the first animation.
void previewGaf(const PreviewInput& input) {
    const io::GafPicture picture = io::readGafPicture(input.bytes, 0);
    input.preview.content = pngFromGafFrame(picture.firstFrame, input.palette);
    input.preview.truncated =
        picture.frameCount > 1 || io::readGafEntryNames(input.bytes).size() > 1;
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
    input.preview.truncated = shown < input.bytes.size();
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

ArchivePreview previewArchiveFile(const io::HpiArchive& archive, const std::string& internalPath,
                                  std::size_t maxBytes, const io::Palette& palette) {
    const ArchiveFile file = findArchiveFile(archive, internalPath);
    const io::Bytes bytes = archive.openReader().readFile(*file.entry);
    ArchivePreview preview{file.path, bytes.size(), false, {}};
    const auto kind = std::ranges::find_if(kPreviewKinds, [&](const PreviewKind& row) {
        return io::endsWithIgnoringCase(file.path, row.extension);
    });
    const auto decode = kind == std::end(kPreviewKinds) ? previewBinary : kind->decode;
    decode({bytes, maxBytes, palette, preview});
    return preview;
}

}  // namespace orb::unitview
