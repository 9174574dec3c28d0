#include "io/vfs/loose_file.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <stdexcept>

#include "io/out_of_memory.h"
#include "io/path_text.h"

namespace orb::io {
namespace {

/// No file of the game comes near this size; a sparse one of any size is easily made.
constexpr std::size_t kMaxLooseFileBytes = 1 << 30;

/// Reads what there is, up to the size of `destination`, and cuts it to that. A buffer reports by
/// an exception that the disk failed; nothing counts as read then.
void readInto(std::filebuf& file, Bytes& destination) {
    std::streamsize count = 0;
    try {
        count = file.sgetn(reinterpret_cast<char*>(destination.data()),
                           static_cast<std::streamsize>(destination.size()));
    } catch (const std::ios_base::failure&) {
    }
    destination.resize(static_cast<std::size_t>(count));
}

}  // namespace

std::optional<Bytes> readLooseFile(const std::filesystem::path& path, std::size_t maxBytes) {
    errno = 0;
    std::filebuf file;
    file.pubsetbuf(nullptr, 0);  // what is read at once needs no buffer
    const bool opened = file.open(path, std::ios::in | std::ios::binary) != nullptr;
    const std::streamoff length = opened ? std::streamoff{file.pubseekoff(0, std::ios::end)} : -1;
    if (length < 0) {
        throwIfOutOfMemory();
        return std::nullopt;
    }
    const std::size_t wanted = std::min(static_cast<std::size_t>(length), maxBytes);
    if (wanted > kMaxLooseFileBytes)
        throw std::runtime_error("file too large: " + textFromPath(path));
    Bytes content(wanted);
    file.pubseekpos(0, std::ios::in);
    readInto(file, content);
    return content;
}

}  // namespace orb::io
