#include <random>

#include <gtest/gtest.h>

#include "cob/cob_testing.h"
#include "cob/plain_interpreter.h"
#include "cob/state_difference.h"
#include "tests/quiet_log.h"

// Seeded random programs run in both interpreters at once; after every tick all of their state has
// to agree, floats bit for bit. A failure names the seed, which makes the program again.
namespace orb::unitview {
namespace {

constexpr std::size_t kPieces = 4;
constexpr int kPrograms = 2000;
constexpr int kTicks = 8;

class ProgramMaker {
public:
    explicit ProgramMaker(std::uint32_t seed) : random_(seed) {}

    std::uint32_t below(std::uint32_t limit) {
        return static_cast<std::uint32_t>(random_() % limit);
    }
    bool oneIn(std::uint32_t chances) { return below(chances) == 0; }

    std::shared_ptr<io::CobFile> make() {
        auto file = std::make_shared<io::CobFile>();
        file->staticVarCount = below(6);
        file->pieces.resize(below(5));
        const std::uint32_t length = 8 + below(120);
        for (std::uint32_t i = 0, count = 1 + below(5); i < count; ++i)
            file->scripts.push_back({"Script" + std::to_string(i), below(length + 1)});
        while (file->code.size() < length) addInstruction(*file, length);
        if (oneIn(4)) file->code.pop_back();
        return file;
    }

    std::int32_t value() {
        static constexpr std::int32_t kTelling[] = {
            0,   1,     -1,    2,      3,     12,    14,     30,        32,        34,           33,
            255, 16384, 30000, -30000, 32768, 65536, -65536, INT32_MAX, INT32_MIN, INT32_MIN + 1};
        if (oneIn(3)) return static_cast<std::int32_t>(random_());
        if (oneIn(2)) return static_cast<std::int32_t>(below(200000)) - 100000;
        return kTelling[below(std::size(kTelling))];
    }

private:
    void addInstruction(io::CobFile& file, std::uint32_t length) {
        if (oneIn(40)) return file.code.push_back(static_cast<std::uint32_t>(random_()));
        // Constants are frequent, as in real scripts, so that the others find something to pop.
        const auto op = static_cast<Op>(1 + below(kOpCount - 1));
        if (oneIn(2) && op != Op::pushConst) add(file, opcodeRow(Op::pushConst), length);
        add(file, opcodeRow(op), length);
    }
    void add(io::CobFile& file, const OpcodeRow& row, std::uint32_t length) {
        file.code.push_back(row.value);
        for (std::size_t i = 0; i < row.operandCount(); ++i)
            file.code.push_back(operand(row.operands.at(i), length));
    }
    std::uint32_t operand(Operand kind, std::uint32_t length) {
        if (oneIn(60)) return static_cast<std::uint32_t>(value());
        switch (kind) {
            case Operand::value:
                return static_cast<std::uint32_t>(value());
            case Operand::axis:
                return oneIn(20) ? 3 : below(3);
            case Operand::argumentCount:
                return oneIn(30) ? 1023 + below(3) : below(4);
            case Operand::target:
                return below(length + 2);
            default:
                return below(6);
        }
    }

    std::mt19937 random_;
};

std::int32_t mixed(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * 31U +
                                     static_cast<std::uint32_t>(b));
}

/// Installs the same callbacks, chosen by `choice`, on either side; they note what they hear.
template <typename Callbacks>
void install(Callbacks& getter, auto& override, auto& setter, auto& random, auto& sfx, auto& sound,
             std::uint32_t choice, std::vector<std::int32_t>& heard) {
    if (choice & 1U) getter = [](std::int32_t id) { return mixed(id, 7); };
    if (choice & 2U)
        override = [](std::int32_t id, std::int32_t a, std::int32_t b, std::int32_t c,
                      std::int32_t d) { return mixed(mixed(mixed(mixed(id, a), b), c), d); };
    if (choice & 4U) random = [](std::int32_t low, std::int32_t high) { return mixed(low, high); };
    setter = [&heard](std::int32_t id, std::int32_t value) {
        heard.insert(heard.end(), {1, id, value});
    };
    sfx = [&heard](std::int32_t type, std::int32_t piece) {
        heard.insert(heard.end(), {2, type, piece});
    };
    sound = [&heard](std::int32_t id) { heard.insert(heard.end(), {3, id}); };
}

void runBoth(std::uint32_t seed) {
    ProgramMaker maker(seed);
    const std::shared_ptr<const io::CobFile> file = maker.make();
    CobInstance real(file, kPieces);
    CobVm vm(real);
    plain::Interpreter plain(*file, kPieces);
    if (maker.oneIn(2)) plain.order = real.cobPieceOrder = {2, kNoPiece, 0};

    std::vector<std::int32_t> heardReal;
    std::vector<std::int32_t> heardPlain;
    const std::uint32_t choice = maker.below(8);
    CobCallbacks& c = real.callbacks;
    plain::Host& h = plain.host;
    install(c.getUnitValue, c.getOverride, c.setUnitValue, c.random, c.emitSfx, c.playSound, choice,
            heardReal);
    install(h.get, h.getOverride, h.set, h.random, h.emitSfx, h.playSound, choice, heardPlain);
    if (maker.oneIn(8)) {
        const std::uint32_t stop = maker.below(60);
        c.breakpointPredicate = h.breakAt = [stop](std::uint32_t pc) { return pc == stop; };
        if (maker.oneIn(2)) real.code.askOnlyAt({stop});
    }

    for (int tick = 0; tick < kTicks; ++tick) {
        const std::uint32_t script = maker.below(static_cast<std::uint32_t>(file->scripts.size()));
        const std::vector<std::int32_t> arguments{maker.value(), maker.value()};
        if (tick < 3 || maker.oneIn(8)) {
            vm.startScript(file->scripts[script].name, arguments);
            plain.start(script, arguments);
        }
        if (maker.oneIn(6)) {
            auto mine = arguments;
            auto other = arguments;
            std::int32_t expected = 0;
            std::srand(seed);
            const bool finished = plain.call(script, other, 200, expected);
            std::srand(seed);
            const auto result = vm.call(file->scripts[script].name, mine, 200);
            ASSERT_EQ(result, finished ? std::optional(expected) : std::nullopt);
            ASSERT_EQ(mine, other);
        }
        std::srand(seed + static_cast<std::uint32_t>(tick));
        plain.tick(tick);
        std::srand(seed + static_cast<std::uint32_t>(tick));
        vm.tick(tick);
        ASSERT_EQ(stateDifference(real, plain), "") << "tick " << tick;
        ASSERT_EQ(heardReal, heardPlain) << "tick " << tick;
    }
}

TEST(Differential, RandomProgramsLeaveTheSameState) {
    const QuietLog quiet;
    for (std::uint32_t seed = 1; seed <= kPrograms && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        runBoth(seed);
    }
}

}  // namespace
}  // namespace orb::unitview
