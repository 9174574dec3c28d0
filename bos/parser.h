#pragma once

#include <string>
#include <string_view>

#include "bos/syntax_tree.h"
#include "io/vfs/virtual_file_system.h"

namespace orb::unitview::bos {

/// Reads a source with its includes from `files` (null: nowhere); `path` is its virtual path. After
/// a mistake it goes on at the next ";", "{" or "}", so the program is of use only when
/// `diagnostics` holds no errors.
Program parseBos(std::string_view source, const std::string& path,
                 const io::AbstractVirtualFileSystem* files, DiagnosticList& diagnostics);

}  // namespace orb::unitview::bos
