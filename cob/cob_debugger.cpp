#include "cob/cob_debugger.h"

#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

#include "cob/cob_units.h"
#include "cob/cob_vm.h"

namespace orb::unitview {
namespace {

constexpr int kTicksPerResume = 600;
constexpr int kTicksPerStep = 1;

}  // namespace

CobLineMap::CobLineMap(std::vector<CobLineSpan> spans, std::vector<std::string> files)
    : spans_(std::move(spans)), files_(std::move(files)) {
    for (std::size_t i = spans_.size(); i > 0; --i) paint(spans_[i - 1]);
}

void CobLineMap::paint(const CobLineSpan& span) {
    if (span.from > span.to) return;
    const std::uint64_t end = std::uint64_t{span.to} + 1;
    const CobSourceLine lineBehind = std::prev(lines_.upper_bound(end))->second;
    lines_.erase(lines_.lower_bound(span.from), lines_.lower_bound(end));
    lines_.insert_or_assign(span.from, CobSourceLine{span.line, span.file});
    lines_.insert_or_assign(end, lineBehind);
}

void CobDebugger::attach(CobInstance* instance) {
    instance_ = instance;
    paused_ = false;
    mode_ = CobResumeMode::run;
    skipOffset_.reset();
    if (instance_ == nullptr) return;
    cobInstallDebugHooks(*instance_, *this);
    limitQuestions();
}

void cobInstallDebugHooks(CobInstance& instance, CobDebugger& debugger) {
    instance.callbacks.breakpointPredicate = [&debugger](std::uint32_t pc) {
        return debugger.shouldPause(pc);
    };
    instance.callbacks.breakpointHit = [&debugger](std::uint32_t pc) { debugger.pauseAt(pc); };
}

CobInstance& CobDebugger::instance() const {
    if (instance_ == nullptr) throw std::runtime_error("no unit loaded");
    return *instance_;
}

void CobDebugger::setBreakpoints(std::set<std::uint32_t> offsets, CobLineMap lines) {
    breakpoints_ = std::move(offsets);
    lines_ = std::move(lines);
    limitQuestions();
}

/// While running on, only breakpoints and the skip offset can change `shouldPause`'s answer or
/// state.
void CobDebugger::limitQuestions() {
    if (instance_ == nullptr) return;
    if (paused_ || mode_ != CobResumeMode::run) return instance_->code.askEverywhere();
    std::set<std::uint32_t> offsets = breakpoints_;
    if (skipOffset_) offsets.insert(*skipOffset_);
    instance_->code.askOnlyAt(offsets);
}

bool CobDebugger::shouldPause(std::uint32_t pc) {
    if (skipOffset_ == pc) {
        skipOffset_.reset();
        return false;
    }
    if (paused_ || mode_ == CobResumeMode::stepInstruction || breakpoints_.contains(pc))
        return true;
    if (mode_ == CobResumeMode::run) return false;
    const CobSourceLine here = lines_.at(pc);
    return here.line == 0 || here != stepLine_;
}

/// Other threads may meet the same pause in the tick; the first one's pc stays, else a resume could
/// never get past its breakpoint.
void CobDebugger::pauseAt(std::uint32_t pc) {
    if (paused_) return;
    pausedOffset_ = pc;
    paused_ = true;
    limitQuestions();
}

void CobDebugger::advanceTicks(int count) {
    if (instance_ == nullptr) return;
    CobVm vm(*instance_);
    for (int i = 0; i < count && !paused_; ++i) {
        if (walkPreview.enabled) advanceWalkPreview(walkPreview);
        vm.tick(static_cast<std::int32_t>(tickCounter_++));
    }
}

void CobDebugger::stopAll() {
    instance().threads.clear();
    instance().pending.clear();
}

void CobDebugger::startScript(std::string_view name, std::span<const std::int32_t> arguments) {
    if (!CobVm(instance()).startScript(name, arguments))
        throw std::runtime_error("script not found: " + std::string(name));
}

bool CobDebugger::isScriptRunning(std::string_view name) const {
    const int script = instance().file().findScript(name);
    return script >= 0 && instance().isScriptRunning(static_cast<std::size_t>(script));
}

void CobDebugger::resume(CobResumeMode mode) {
    static_cast<void>(instance());
    skipOffset_ = paused_ ? std::optional(pausedOffset_) : std::nullopt;
    mode_ = mode;
    paused_ = false;
    stepLine_ = lines_.at(pausedOffset_);
    limitQuestions();
    advanceTicks(mode == CobResumeMode::stepInstruction ? kTicksPerStep : kTicksPerResume);
}

void advanceWalkPreview(CobWalkPreview& walk) {
    constexpr float kSpeedPerRadian = 200.0F;
    const float speed = walk.speed > 0 ? walk.speed : 1.0F;
    walk.heading += speed / kSpeedPerRadian;
    if (walk.heading > kHalfTurn) walk.heading -= kFullTurn;
    if (walk.heading < -kHalfTurn) walk.heading += kFullTurn;
    walk.x += std::sin(walk.heading) * speed;
    walk.z += std::cos(walk.heading) * speed;
}

}  // namespace orb::unitview
