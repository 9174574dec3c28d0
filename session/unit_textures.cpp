#include "session/unit_textures.h"

#include "model/piece_list.h"

namespace orb::unitview {

std::vector<UnitTexture> findUnitTextures(const UnitViewSession& session) {
    const std::vector<std::string> names = textureNames(session.requireModel());
    const MountedData& data = session.data();
    const auto textures = data.pictures.textures.find(names);
    std::vector<UnitTexture> result;
    for (std::size_t i = 0; i < names.size(); ++i) {
        UnitTexture& entry = result.emplace_back(UnitTexture{names[i], textures[i], {}});
        if (entry.texture) entry.source = findSource(data.files, entry.texture->path);
    }
    return result;
}

}  // namespace orb::unitview
