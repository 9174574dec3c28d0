#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "io/formats/cob_file.h"

/// A second interpreter of unit scripts in the plainest style, without regard to speed. It shares
/// no code with the real one, so that the two can be compared state by state.
namespace orb::unitview::plain {

struct Piece {
    float offset[3]{}, angle[3]{}, targetOffset[3]{}, targetAngle[3]{};
    float moveSpeed[3]{}, turnSpeed[3]{}, spinSpeed[3]{}, spinTarget[3]{}, spinAcceleration[3]{};
    bool visible = true;
};

struct Thread {
    int state = 0;
    std::uint32_t pc = 0;
    std::deque<std::int32_t> stack;
    std::vector<std::uint32_t> returns;
    std::vector<std::vector<std::int32_t>> frames;
    std::int32_t sleepUntil = 0, waitPiece = 0, waitAxis = 0, mask = 0;
};

struct Host {
    std::function<std::int32_t(std::int32_t)> get;
    std::function<std::int32_t(std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                               std::int32_t)>
        getOverride;
    std::function<void(std::int32_t, std::int32_t)> set;
    std::function<std::int32_t(std::int32_t, std::int32_t)> random;
    std::function<void(std::int32_t, std::int32_t)> emitSfx;
    std::function<void(std::int32_t)> playSound;
    std::function<bool(std::uint32_t)> breakAt;
    std::function<void(std::uint32_t)> onBreak;
};

class Interpreter {
public:
    Interpreter(const io::CobFile& file, std::size_t pieceCount);

    void tick(std::int32_t number);
    void start(std::size_t script, const std::vector<std::int32_t>& arguments);
    /// Runs a script to its end within the budget; true and `result` when it returned a value.
    bool call(std::size_t script, std::vector<std::int32_t>& parameters, int budget,
              std::int32_t& result);

    Host host;
    std::vector<Piece> pieces;
    std::vector<std::int32_t> order, statics;
    std::vector<Thread> threads, pending;
    int ticks = 0;
    bool warned = false;
    std::set<std::uint32_t> unknown;

private:
    void run(Thread& thread, int budget);
    void execute(Thread& t, std::uint32_t opcode);
    bool arithmetic(Thread& t, std::uint32_t opcode);
    bool animation(Thread& t, std::uint32_t opcode);
    bool flow(Thread& t, std::uint32_t opcode);
    void get(Thread& t);
    void signal(Thread& t, std::int32_t bits);
    void animate(Piece& piece);
    bool turnDone(std::int64_t piece, std::int64_t axis) const;
    bool moveDone(std::int64_t piece, std::int64_t axis) const;
    std::int64_t mapped(std::uint32_t piece) const;
    std::uint32_t operand(Thread& t);
    std::vector<std::int32_t> popArguments(Thread& t, std::uint32_t count);

    const io::CobFile& file_;
    bool sliceOver_ = false, codeEnded_ = false;
};

}  // namespace orb::unitview::plain
