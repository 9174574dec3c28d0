#include "server/handlers/encode_source.h"

#include <nlohmann/json.hpp>

#include "io/path_text.h"

namespace orb::unitview::ipc {

using nlohmann::json;

json encodeSource(const UnitSource& source) {
    const bool isArchive = source.location.kind == io::FileLocation::Kind::archive;
    json result = {{"kind", isArchive ? "archive" : "loose"},
                   {"path", io::textFromPath(source.location.path)},
                   {"inBaseTa", source.inBaseTa}};
    if (isArchive) result["internalPath"] = source.location.internalPath;
    return result;
}

}  // namespace orb::unitview::ipc
