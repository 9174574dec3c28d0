#include "io/formats/cob_file.h"

#include "io/ascii.h"

namespace orb::io {

int CobFile::findScript(std::string_view name) const {
    for (std::size_t i = 0; i < scripts.size(); ++i)
        if (equalsIgnoringCase(scripts[i].name, name)) return static_cast<int>(i);
    return -1;
}

}  // namespace orb::io
