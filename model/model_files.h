#pragma once

#include <string_view>

#include "io/ascii.h"
#include "io/vfs/composite_virtual_file_system.h"

namespace orb::unitview {

inline constexpr std::string_view kModelDirectory = "objects3d";
inline constexpr std::string_view kModelSuffix = ".3do";

/// The name, without ".3do", of the model file that a definition's `name` means: the name as it
/// stands or, where no file goes by that, the name without the ".3do" that it may end in; as it
/// stands where there is neither. `exists` tells whether there is a file of a name.
template <typename Exists>
std::string_view modelFileName(std::string_view name, Exists&& exists) {
    if (!io::endsWithIgnoringCase(name, kModelSuffix) || exists(name)) return name;
    const std::string_view stem = name.substr(0, name.size() - kModelSuffix.size());
    return exists(stem) ? stem : name;
}

/// The same for a model in the stack.
std::string_view modelFileName(const io::CompositeVirtualFileSystem& files, std::string_view name);

}  // namespace orb::unitview
