#include "cob/cob_instance.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_map>

#include "io/ascii.h"

namespace orb::unitview {
namespace {

bool isTracedByEnvironment(std::string_view unitName) {
    const char* const list = std::getenv("ORB_TRACE_COB_UNITS");
    return list != nullptr && listsUnit(list, unitName);
}

}  // namespace

CobInstance::CobInstance(std::shared_ptr<const io::CobFile> file, std::size_t modelPieceCount,
                         std::string_view unitName)
    : traceInstructions(isTracedByEnvironment(unitName)),
      pieces(modelPieceCount),
      previousPieces(modelPieceCount),
      statics(std::min(file->staticVarCount, kMaxStaticVars)),
      code(file->code),
      file_(std::move(file)),
      scriptMap_(*file_) {}

std::string_view CobInstance::scriptNameAt(std::uint32_t pc) const {
    const std::optional<std::size_t> script = scriptMap_.scriptAt(pc);
    return script ? shownName(file_->scripts[*script].name) : std::string_view();
}

bool CobInstance::isScriptRunning(std::size_t script) const {
    const std::uint32_t entry = file_->scripts.at(script).entry;
    const std::uint32_t end = scriptMap_.endOf(entry);
    const auto inside = [&](std::uint32_t pc) { return pc >= entry && pc < end; };
    return std::ranges::any_of(threads, [&](const auto& thread) {
        return thread->state != CobThreadState::finished &&
               (inside(thread->pc) || std::ranges::any_of(thread->returnPcs, inside));
    });
}

std::unique_ptr<CobThread> CobInstance::newThread(std::size_t script,
                                                  std::span<const std::int32_t> locals) {
    auto thread = std::make_unique<CobThread>();
    thread->id = nextThreadId_++;
    thread->pc = file_->scripts.at(script).entry;
    thread->frames.setFirst(locals);
    return thread;
}

std::vector<std::int32_t> matchPieces(const io::CobFile& file,
                                      std::span<const std::string> modelPieces) {
    std::unordered_map<std::string, std::int32_t> indexByName;
    for (std::size_t i = 0; i < modelPieces.size(); ++i)
        indexByName.try_emplace(io::lowerCased(modelPieces[i]), static_cast<std::int32_t>(i));
    std::vector<std::int32_t> order;
    order.reserve(file.pieces.size());
    for (const std::string& name : file.pieces) {
        const auto found = indexByName.find(io::lowerCased(name));
        order.push_back(found == indexByName.end() ? kNoPiece : found->second);
    }
    return order;
}

bool listsUnit(std::string_view list, std::string_view unitName) {
    constexpr std::string_view kSeparators = ",;:";
    if (unitName.empty()) return false;
    while (!list.empty()) {
        const std::size_t end = list.find_first_of(kSeparators);
        if (io::equalsIgnoringCase(list.substr(0, end), unitName)) return true;
        if (end == std::string_view::npos) return false;
        list.remove_prefix(end + 1);
    }
    return false;
}

}  // namespace orb::unitview
