#pragma once

#include <string>
#include <string_view>

#include "io/byte_cursor.h"

namespace orb::unitview::ipc {

/// The standard alphabet (RFC 4648) with padding.
std::string encodeBase64(io::ByteView bytes);

/// Decodes the standard alphabet; padding may be missing. Throws std::runtime_error "base64: …" that
/// names the first wrong character.
io::Bytes decodeBase64(std::string_view text);

}  // namespace orb::unitview::ipc
