#pragma once

#include <algorithm>
#include <bit>
#include <string>
#include <unordered_set>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "cob/cob_instance.h"
#include "cob/plain_interpreter.h"

namespace orb::unitview {

/// All of a thread in numbers.
inline std::vector<std::int64_t> image(const CobThread& t) {
    std::vector<std::int64_t> all{
        static_cast<int>(t.state), t.pc, t.sleepUntil, t.waitPiece, t.waitAxis, t.signalMask, -1};
    all.insert(all.end(), t.stack.words().begin(), t.stack.words().end());
    all.push_back(-2);
    all.insert(all.end(), t.returnPcs.begin(), t.returnPcs.end());
    for (std::size_t i = 0; i < t.frames.count(); ++i) {
        all.push_back(-3);
        const auto frame = t.frames.frame(i);
        all.insert(all.end(), frame.begin(), frame.end());
    }
    return all;
}

inline std::vector<std::int64_t> image(const plain::Thread& t) {
    std::vector<std::int64_t> all{t.state, t.pc, t.sleepUntil, t.waitPiece, t.waitAxis, t.mask, -1};
    all.insert(all.end(), t.stack.begin(), t.stack.end());
    all.push_back(-2);
    all.insert(all.end(), t.returns.begin(), t.returns.end());
    for (const auto& frame : t.frames) {
        all.push_back(-3);
        all.insert(all.end(), frame.begin(), frame.end());
    }
    return all;
}

inline bool samePose(const CobPiece& a, const plain::Piece& b) {
    const auto same = [](const Axes& x, const float(&y)[3]) {
        return std::ranges::equal(x, y, {}, std::bit_cast<std::uint32_t, float>,
                                  std::bit_cast<std::uint32_t, float>);
    };
    return same(a.offset, b.offset) && same(a.angle, b.angle) &&
           same(a.targetOffset, b.targetOffset) && same(a.targetAngle, b.targetAngle) &&
           same(a.moveSpeed, b.moveSpeed) && same(a.turnSpeed, b.turnSpeed) &&
           same(a.spinSpeed, b.spinSpeed) && same(a.spinTarget, b.spinTarget) &&
           same(a.spinAcceleration, b.spinAcceleration) && (a.visible != 0) == b.visible;
}

/// What the two interpreters' states differ in; empty when they agree.
inline std::string stateDifference(const CobInstance& real, const plain::Interpreter& plain) {
    if (real.statics != plain.statics) return "statics";
    if (real.threads.size() != plain.threads.size())
        return fmt::format("{} threads, not {}", real.threads.size(), plain.threads.size());
    for (std::size_t i = 0; i < real.threads.size(); ++i)
        if (image(*real.threads[i]) != image(plain.threads[i]))
            return fmt::format("thread {}: {} not {}", i, image(*real.threads[i]),
                               image(plain.threads[i]));
    for (std::size_t i = 0; i < real.pieces.size(); ++i)
        if (!samePose(real.pieces[i], plain.pieces[i])) return fmt::format("piece {}", i);
    if (real.unknownOpcodes !=
        std::unordered_set<std::uint32_t>(plain.unknown.begin(), plain.unknown.end()))
        return "unknown opcodes";
    return real.threadLimitWarned == plain.warned ? "" : "warning";
}

}  // namespace orb::unitview
