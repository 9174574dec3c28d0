#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "io/vfs/virtual_file_system.h"

namespace orb::unitview::bos {

/// The virtual paths of the files that a source includes, those included by them too, each once.
/// What is not found, and what a mistake keeps from being read, is left out.
std::vector<std::string> includedFiles(std::string_view source, const std::string& path,
                                       const io::AbstractVirtualFileSystem& files);

}  // namespace orb::unitview::bos
