#include "cob/plain_interpreter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace orb::unitview::plain {
namespace {

constexpr float kTps = 30.0F;

std::int32_t wrap(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

std::int32_t clamped(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return 2147483647;
    if (value <= -2147483648.0) return wrap(2147483648LL);
    return static_cast<std::int32_t>(value);
}

float toRadians(std::uint16_t units) {
    float radians = static_cast<float>(units) * 9.58738e-5F;
    if (radians >= 3.1415927F) radians -= 6.2831855F;
    return radians;
}

std::uint16_t toUnits(float radians) {
    return static_cast<std::uint16_t>(static_cast<long long>(std::round(radians / 9.58738e-5F)));
}

std::int32_t cobAngle(float y, float x) {
    return static_cast<std::int32_t>(static_cast<std::uint16_t>(
        static_cast<long long>(std::round(std::atan2(y, x) * 10430.378F))));
}

float asFloat(std::int32_t value) {
    return static_cast<float>(value);
}

std::int32_t pop(Thread& t) {
    if (t.stack.empty()) return 0;
    const std::int32_t value = t.stack.back();
    t.stack.pop_back();
    return value;
}

void push(Thread& t, std::int32_t value) {
    t.stack.push_back(value);
    if (t.stack.size() > 65536) t.stack.pop_front();
}

std::size_t localsOf(const Thread& t) {
    std::size_t count = 0;
    for (const auto& frame : t.frames) count += frame.size();
    return count;
}

}  // namespace

Interpreter::Interpreter(const io::CobFile& file, std::size_t pieceCount)
    : pieces(pieceCount), statics(std::min<std::size_t>(file.staticVarCount, 65536)), file_(file) {}

void Interpreter::start(std::size_t script, const std::vector<std::int32_t>& arguments) {
    Thread thread;
    thread.pc = file_.scripts.at(script).entry;
    thread.frames.push_back(arguments);
    threads.push_back(thread);
}

bool Interpreter::call(std::size_t script, std::vector<std::int32_t>& parameters, int budget,
                       std::int32_t& result) {
    Thread thread;
    thread.pc = file_.scripts.at(script).entry;
    thread.frames.push_back(parameters);
    run(thread, budget);
    for (std::size_t i = 0; i < parameters.size() && i < thread.frames[0].size(); ++i)
        parameters[i] = thread.frames[0][i];
    if (thread.state != 4 || thread.stack.empty()) return false;
    result = thread.stack.back();
    return true;
}

void Interpreter::tick(std::int32_t number) {
    ticks = number;
    for (Piece& piece : pieces) animate(piece);
    for (Thread& t : threads) {
        if (t.state == 1 && number >= t.sleepUntil) t.state = 0;
        if (t.state == 2 && turnDone(t.waitPiece, t.waitAxis)) t.state = 0;
        if (t.state == 3 && moveDone(t.waitPiece, t.waitAxis)) t.state = 0;
    }
    pending.clear();
    threads.reserve(threads.size() + 4096);  // a running thread is referred to while others start
    for (std::size_t i = 0; i < threads.size(); ++i) {
        if (threads[i].state != 0) continue;
        run(threads[i], 4096);
        threads.insert(threads.end(), pending.begin(), pending.end());
        pending.clear();
    }
    std::vector<Thread> alive;
    for (const Thread& t : threads)
        if (t.state != 4) alive.push_back(t);
    threads = alive;
}

void Interpreter::run(Thread& t, int budget) {
    sliceOver_ = false;
    for (int count = 0; count < budget && !sliceOver_; ++count) {
        if (t.pc >= file_.code.size()) {
            t.state = 4;
            return;
        }
        if (host.breakAt && host.breakAt(t.pc)) {
            if (host.onBreak) host.onBreak(t.pc);
            return;
        }
        codeEnded_ = false;
        execute(t, file_.code[t.pc++]);
        if (codeEnded_) {
            t.state = 4;
            sliceOver_ = true;
        }
    }
}

std::uint32_t Interpreter::operand(Thread& t) {
    const std::uint32_t at = t.pc++;
    if (at < file_.code.size()) return file_.code[at];
    codeEnded_ = true;
    return 0;
}

std::int64_t Interpreter::mapped(std::uint32_t piece) const {
    return piece < order.size() ? std::int64_t{order[piece]} : std::int64_t{piece};
}

bool Interpreter::turnDone(std::int64_t piece, std::int64_t axis) const {
    if (piece < 0 || piece >= static_cast<std::int64_t>(pieces.size()) || axis < 0 || axis > 2)
        return true;
    const Piece& p = pieces[static_cast<std::size_t>(piece)];
    return toUnits(p.angle[axis]) == toUnits(p.targetAngle[axis]);
}

bool Interpreter::moveDone(std::int64_t piece, std::int64_t axis) const {
    if (piece < 0 || piece >= static_cast<std::int64_t>(pieces.size()) || axis < 0 || axis > 2)
        return true;
    const Piece& p = pieces[static_cast<std::size_t>(piece)];
    return std::abs(p.offset[axis] - p.targetOffset[axis]) < 0.001F;
}

void Interpreter::animate(Piece& p) {
    for (int axis = 0; axis < 3; ++axis) {
        if (p.turnSpeed[axis] > 0 && p.angle[axis] != p.targetAngle[axis]) {
            const std::uint16_t c = toUnits(p.angle[axis]);
            const std::uint16_t g = toUnits(p.targetAngle[axis]);
            const auto step = static_cast<long long>(p.turnSpeed[axis] / 9.58738e-5F);
            const auto d = static_cast<std::uint16_t>(g - c);
            const bool up = d <= 32768;
            const long long distance = up ? d : static_cast<std::uint16_t>(c - g);
            const auto next = static_cast<std::uint16_t>(up ? c + step : c - step);
            if (distance > step && next != g) {
                p.angle[axis] = toRadians(next);
            } else {
                p.angle[axis] = p.targetAngle[axis];
                p.turnSpeed[axis] = 0;
            }
        }
        float& speed = p.spinSpeed[axis];
        if (p.spinAcceleration[axis] > 0 && speed != p.spinTarget[axis]) {
            if (p.spinAcceleration[axis] >= std::abs(p.spinTarget[axis] - speed)) {
                speed = p.spinTarget[axis];
                p.spinAcceleration[axis] = 0;
            } else if (speed < p.spinTarget[axis]) {
                speed += p.spinAcceleration[axis];
            } else {
                speed -= p.spinAcceleration[axis];
            }
        }
        if (speed != 0) p.angle[axis] += speed;
    }
    for (int axis = 0; axis < 3; ++axis) {
        const float speed = p.moveSpeed[axis];
        if (!(speed > 0) || p.offset[axis] == p.targetOffset[axis]) continue;
        if (speed >= std::abs(p.targetOffset[axis] - p.offset[axis])) {
            p.offset[axis] = p.targetOffset[axis];
            p.moveSpeed[axis] = 0;
        } else {
            p.offset[axis] += p.offset[axis] < p.targetOffset[axis] ? speed : -speed;
        }
    }
}

void Interpreter::execute(Thread& t, std::uint32_t opcode) {
    if (arithmetic(t, opcode) || animation(t, opcode) || flow(t, opcode)) return;
    unknown.insert(opcode);
}

bool Interpreter::arithmetic(Thread& t, std::uint32_t opcode) {
    switch (opcode) {
        case 0x10021001:
            push(t, wrap(operand(t)));
            return true;
        case 0x10021002: {
            const std::uint32_t i = operand(t);
            push(t, !t.frames.empty() && i < t.frames.back().size() ? t.frames.back()[i] : 0);
            return true;
        }
        case 0x10021004: {
            const std::uint32_t i = operand(t);
            push(t, i < statics.size() ? statics[i] : 0);
            return true;
        }
        case 0x10022000:
            if (t.frames.empty()) t.frames.emplace_back();
            if (t.frames.back().size() < 1024 && localsOf(t) < 65536) t.frames.back().push_back(0);
            return true;
        case 0x10023002: {
            const std::uint32_t i = operand(t);
            const std::int32_t value = pop(t);
            if (!t.frames.empty() && i < t.frames.back().size()) t.frames.back()[i] = value;
            return true;
        }
        case 0x10023004: {
            const std::uint32_t i = operand(t);
            const std::int32_t value = pop(t);
            if (i < statics.size()) statics[i] = value;
            return true;
        }
        case 0x10024000:
            pop(t);
            return true;
        case 0x10038000:
            push(t, ~pop(t));
            return true;
        case 0x1005A000:
            push(t, pop(t) == 0);
            return true;
        case 0x10041000: {
            const std::int32_t high = pop(t);
            const std::int32_t low = pop(t);
            if (host.random) {
                push(t, host.random(low, high));
                return true;
            }
            std::int32_t range = wrap(std::int64_t{high} - low + 1);
            if (range < 2) range = 1;
            push(t, wrap(std::int64_t{std::rand() % range} + low));
            return true;
        }
        case 0x10042000: {
            const std::int32_t id = pop(t);
            push(t, host.get ? host.get(id) : 0);
            return true;
        }
        case 0x10043000:
            get(t);
            return true;
        default:
            break;
    }
    const std::uint32_t group = opcode & 0xFFFFF000U;
    if (group != opcode || (group >> 16 != 0x1003 && group >> 16 != 0x1005)) return false;
    const std::uint32_t which = (opcode >> 12) & 0xF;
    const bool compare = group >> 16 == 0x1005;
    if (which < 1 || which > (compare ? 9U : 7U)) return false;
    const std::int32_t right = pop(t);
    const std::int32_t left = pop(t);
    const std::int64_t a = left;
    const std::int64_t b = right;
    if (compare) {
        const bool results[] = {a<b, a <= b, a> b,   a >= b, a == b, a != b, a && b, a || b,
                                (a != 0) != (b != 0)};
        push(t, results[which - 1]);
    } else {
        const std::int64_t results[] = {a + b, a - b, a * b, b == 0 ? 0 : a / b,
                                        a & b, a | b, a ^ b};
        push(t, wrap(results[which - 1]));
    }
    return true;
}

void Interpreter::get(Thread& t) {
    const std::int32_t a4 = pop(t);
    const std::int32_t a3 = pop(t);
    const std::int32_t a2 = pop(t);
    const std::int32_t a1 = pop(t);
    const std::int32_t id = pop(t);
    const int x = static_cast<std::int16_t>(static_cast<std::uint32_t>(a1) >> 16);
    const int z = static_cast<std::int16_t>(static_cast<std::uint32_t>(a1) & 0xFFFF);
    const float angle = asFloat(a1) * 9.58738e-5F;
    const bool packed = id == 12 || id == 13;
    const bool computed = id == 14 || id == 15 || (id >= 30 && id <= 32) || id == 34;
    std::int32_t result = 0;
    if (host.getOverride && !computed)
        result = host.getOverride(id, a1, a2, a3, a4);
    else if (!packed && !computed)
        result = host.get ? host.get(id) : 0;
    else if (id == 12)
        result = cobAngle(asFloat(x), asFloat(z));
    else if (id == 13)
        result = clamped(std::sqrt(double(x) * x + double(z) * z) * 65536);
    else if (id == 14)
        result = cobAngle(asFloat(a1), asFloat(a2));
    else if (id == 15)
        result = clamped(std::sqrt(double(a1) * a1 + double(a2) * a2));
    else if (id == 30)
        result = clamped(std::sin(angle) * 65536.0);
    else if (id == 31)
        result = clamped(std::cos(angle) * 65536.0);
    else if (id == 32)
        result = clamped(std::tan(double(angle)) * 65536.0);
    else if (id == 34)
        result = a1 < 1 ? 0 : clamped(std::sqrt(double(a1)));
    push(t, result);
}

bool Interpreter::animation(Thread& t, std::uint32_t opcode) {
    constexpr std::uint32_t kFirst = 0x10001000, kLast = 0x10012000;
    if (opcode != 0x10071000 && (opcode < kFirst || opcode > kLast || opcode % 0x1000 != 0))
        return false;
    const std::uint32_t which = (opcode - 0x10000000) / 0x1000;
    if (which == 9 || which == 10 || which == 16) return false;
    const bool hasAxis = which <= 4 || which == 11 || which == 12 || which == 17 || which == 18;
    const std::int64_t piece = mapped(operand(t));
    const std::uint32_t axis = hasAxis ? operand(t) : 0;
    std::int32_t first = 0;
    std::int32_t second = 0;
    if (which <= 4 || which == 11 || which == 12 || which == 15 || which == 0x71) first = pop(t);
    if (which <= 3) second = pop(t);
    if (piece < 0 || piece >= static_cast<std::int64_t>(pieces.size()) || axis > 2) return true;
    Piece& p = pieces[static_cast<std::size_t>(piece)];
    const float offset = asFloat(first) / 65536 * (axis == 0 ? -1.0F : 1.0F);
    float angle = toRadians(static_cast<std::uint16_t>(first));
    if (axis == 2) angle = -angle;
    const auto acceleration = [](std::int32_t units) {
        return asFloat(units < 0 ? wrap(-std::int64_t{units}) : units) * 0.017453292F /
               (kTps * kTps);
    };
    switch (which) {
        case 1:
            p.targetOffset[axis] = offset;
            p.moveSpeed[axis] = std::abs(asFloat(second) / 65536) / kTps;
            break;
        case 2:
            p.targetAngle[axis] = angle;
            p.turnSpeed[axis] = std::abs(asFloat(second) * 9.58738e-5F) / kTps;
            break;
        case 3:
            p.spinTarget[axis] = asFloat(first) * 9.58738e-5F / kTps;
            if (second == 0) p.spinSpeed[axis] = p.spinTarget[axis];
            p.spinAcceleration[axis] = second == 0 ? 0 : acceleration(second);
            break;
        case 4:
            p.spinTarget[axis] = 0;
            if (first == 0) p.spinSpeed[axis] = 0;
            p.spinAcceleration[axis] = first == 0 ? 0 : acceleration(first);
            break;
        case 5:
            p.visible = true;
            break;
        case 6:
        case 0x71:
            p.visible = false;
            break;
        case 11:
            p.offset[axis] = p.targetOffset[axis] = offset;
            p.moveSpeed[axis] = 0;
            break;
        case 12:
            p.angle[axis] = p.targetAngle[axis] = angle;
            p.turnSpeed[axis] = 0;
            break;
        case 15:
            if (host.emitSfx) host.emitSfx(first, static_cast<std::int32_t>(piece));
            break;
        case 17:
        case 18:
            if (which == 17 ? turnDone(piece, axis) : moveDone(piece, axis)) break;
            t.waitPiece = static_cast<std::int32_t>(piece);
            t.waitAxis = static_cast<std::int32_t>(axis);
            t.state = which == 17 ? 2 : 3;
            sliceOver_ = true;
            break;
        default:
            break;  // cache and shade hints
    }
    return true;
}

std::vector<std::int32_t> Interpreter::popArguments(Thread& t, std::uint32_t count) {
    std::vector<std::int32_t> arguments;
    for (std::uint32_t i = 0; i < count && (i < 1024 || !t.stack.empty()); ++i) {
        const std::int32_t value = pop(t);
        if (i < 1024) arguments.push_back(value);
    }
    return arguments;
}

bool Interpreter::flow(Thread& t, std::uint32_t opcode) {
    switch (opcode) {
        case 0x10013000: {
            const std::int64_t milliseconds = pop(t);
            const std::int64_t now = std::int64_t{ticks} * 1000 / 30;
            t.sleepUntil = wrap(((now + (milliseconds > 0 ? milliseconds : 0)) * 30 + 999) / 1000);
            t.state = 1;
            sliceOver_ = true;
            return true;
        }
        case 0x10061000: {
            const std::uint32_t script = operand(t);
            Thread started;
            started.frames.push_back(popArguments(t, operand(t)));
            const bool full = threads.size() + pending.size() >= 256;
            warned = warned || full;
            if (full || script >= file_.scripts.size()) return true;
            started.pc = file_.scripts[script].entry;
            started.mask = t.mask;
            pending.push_back(started);
            return true;
        }
        case 0x10062000: {
            const std::uint32_t script = operand(t);
            std::vector<std::int32_t> arguments = popArguments(t, operand(t));
            if (script >= file_.scripts.size() || t.returns.size() >= 1024) return true;
            t.returns.push_back(t.pc);
            arguments.resize(std::min(arguments.size(), 65536 - localsOf(t)));
            t.frames.push_back(arguments);
            t.pc = file_.scripts[script].entry;
            return true;
        }
        case 0x10064000:
            t.pc = operand(t);
            return true;
        case 0x10065000: {
            const std::int32_t value = pop(t);
            if (t.returns.empty()) {
                t.state = 4;
                t.stack.clear();
                sliceOver_ = true;
            } else {
                t.pc = t.returns.back();
                t.returns.pop_back();
                if (!t.frames.empty()) t.frames.pop_back();
            }
            push(t, value);
            return true;
        }
        case 0x10066000: {
            const std::uint32_t target = operand(t);
            if (pop(t) == 0) t.pc = target;
            return true;
        }
        case 0x10067000:
            signal(t, pop(t));
            return true;
        case 0x10068000:
            t.mask = pop(t);
            return true;
        case 0x10082000: {
            const std::int32_t value = pop(t);
            const std::int32_t id = pop(t);
            if (host.set) host.set(id, value);
            return true;
        }
        case 0x10083000:
            pop(t);
            pop(t);
            pop(t);
            return true;
        case 0x10084000:
            pop(t);
            return true;
        case 0x10091000: {
            const std::int32_t sound = pop(t);
            if (host.playSound) host.playSound(sound);
            return true;
        }
        default:
            return false;
    }
}

void Interpreter::signal(Thread& t, std::int32_t bits) {
    for (Thread& other : threads)
        if ((other.mask & bits) != 0) other.state = 4;
    std::erase_if(pending, [&](const Thread& other) { return (other.mask & bits) != 0; });
    if ((t.mask & bits) == 0) return;
    t.state = 4;
    sliceOver_ = true;
}

}  // namespace orb::unitview::plain
