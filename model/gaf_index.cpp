#include "model/gaf_index.h"

#include <stdexcept>

#include <fmt/format.h>

#include "io/ascii.h"
#include "io/out_of_memory.h"
#include "server/logger.h"

namespace orb::unitview {

const GafEntryRef* GafIndex::find(std::string_view name) const {
    if (!isBuilt_) build();
    const auto found = entries_.find(io::upperCased(name));
    return found == entries_.end() ? nullptr : &found->second;
}

void GafIndex::build() const {
    const auto addFile = [&](std::string_view name, const std::optional<io::Bytes>& content,
                             std::string_view error) {
        const std::string path = fmt::format("{}/{}", kind_.folder, name);
        try {
            if (!content) throw std::runtime_error(std::string(error));
            std::size_t index = 0;
            for (const std::string& entry : io::readGafEntryNames(*content))
                entries_.try_emplace(io::upperCased(entry), GafEntryRef{path, index++});
        } catch (const std::exception& failure) {
            io::rethrowOutOfMemory(failure);
            LogLine(LogLevel::warn) << "[gaf] cannot read '" << path << "': " << failure.what();
        }
    };
    files_->forEachFile(kind_.folder, kind_.extension, addFile);
    isBuilt_ = true;
    LogLine(LogLevel::info) << "[gaf] " << kind_.folder << ": " << entries_.size() << " entries";
}

void requireGafName(std::string_view found, std::string_view expected) {
    if (!io::equalsIgnoringCase(found, expected))
        throw std::runtime_error(fmt::format("GAF entry not found: {}", expected));
}

}  // namespace orb::unitview
