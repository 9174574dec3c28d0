#include "cob/cob_trace.h"

#include <fmt/format.h>

#include "cob/unit_values.h"
#include "cob/wrapping.h"

namespace orb::unitview {
namespace {

/// What follows the piece (and the axis, where there is one) in the text of an entry.
std::string motionTail(const CobTraceEntry& entry) {
    const auto& v = entry.values;
    switch (entry.op) {
        case Op::move:
        case Op::turn:
            return fmt::format(" to {} speed {}", v[2], v[3]);
        case Op::spin:
            return fmt::format(" speed {} accel {}", v[2], v[3]);
        case Op::stopSpin:
            return fmt::format(" decel {}", v[2]);
        case Op::moveNow:
        case Op::turnNow:
            return fmt::format(" to {}", v[2]);
        case Op::explode:
            return fmt::format(" flags {}", v[1]);
        default:
            return {};
    }
}

std::string pieceText(const CobTraceEntry& entry, const OpcodeRow& row, std::string_view piece) {
    const auto& v = entry.values;
    if (entry.op == Op::emitSfx) return fmt::format("{} {} from {}", row.traceKind, v[1], piece);
    if (row.operands[1] == Operand::axis)
        return fmt::format("{} {} {}{}", row.traceKind, piece, axisName(bits(v[1])),
                           motionTail(entry));
    return fmt::format("{} {}{}", row.traceKind, piece, motionTail(entry));
}

std::string plainText(const CobTraceEntry& entry, const OpcodeRow& row, const io::CobFile& file) {
    const auto& v = entry.values;
    switch (entry.op) {
        case Op::sleep:
            return fmt::format("{} {}ms", row.traceKind, v[0]);
        case Op::set:
            return fmt::format("{} {} ({}) = {}", row.traceKind, unitValueName(v[0]), v[0], v[1]);
        case Op::popStatic:
            return fmt::format("{}[{}] = {}", row.traceKind, bits(v[0]), v[1]);
        case Op::attachUnit:
            return fmt::format("{} {} piece {} unknown {}", row.traceKind, v[0], v[1], v[2]);
        case Op::call:
        case Op::start:
            return fmt::format("{} {} ({} args)", row.traceKind, scriptLabel(file, bits(v[0])),
                               bits(v[1]));
        default:
            return fmt::format("{} {}", row.traceKind, v[0]);
    }
}

std::string label(std::string_view name, std::string_view kind, std::uint32_t index) {
    return name.empty() ? fmt::format("{}#{}", kind, index) : std::string(shownName(name));
}

}  // namespace

void CobTrace::clear() {
    gone_ += entries_.size();
    entries_.clear();
    oldest_ = 0;
}

std::string pieceLabel(const io::CobFile& file, std::uint32_t cobPiece) {
    return label(cobPiece < file.pieces.size() ? file.pieces[cobPiece] : "", "piece", cobPiece);
}

std::string scriptLabel(const io::CobFile& file, std::uint32_t script) {
    return label(script < file.scripts.size() ? file.scripts[script].name : "", "script", script);
}

CobTraceEvent describe(const CobTraceEntry& entry, const io::CobFile& file) {
    const OpcodeRow& row = opcodeRow(entry.op);
    CobTraceEvent event;
    event.tick = entry.tick;
    event.thread = entry.thread;
    if (row.operands[0] == Operand::piece) {
        event.piece = pieceLabel(file, bits(entry.values[0]));
        event.event = pieceText(entry, row, *event.piece);
        return event;
    }
    event.event = plainText(entry, row, file);
    if (entry.op == Op::set) {
        event.valueId = entry.values[0];
        event.valueName = unitValueName(entry.values[0]);
    }
    if (entry.op == Op::set || entry.op == Op::popStatic) event.result = entry.values[1];
    return event;
}

}  // namespace orb::unitview
