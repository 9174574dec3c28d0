#include <cstdlib>
#include <memory>

#include "cob/cob_vm.h"
#include "cob/plain_interpreter.h"
#include "cob/state_difference.h"
#include "cob_input.h"

// A script in the interpreter and in the plain one of its tests: after every tick all of their
// state agrees, floats bit for bit. The first bytes say which script each tick starts.

namespace orb::fuzz {
namespace {

constexpr std::size_t kTicks = 7;
constexpr std::size_t kModelPieces = 4;
/// Beyond, the plain interpreter takes too long.
constexpr std::size_t kMaxThreads = 12;

void compare(Choices& starts, const std::shared_ptr<const io::CobFile>& file) {
    unitview::CobInstance real(file, kModelPieces);
    unitview::CobVm vm(real);
    unitview::plain::Interpreter plain(*file, kModelPieces);
    for (int tick = 0; !starts.isEmpty() && real.threads.size() <= kMaxThreads; ++tick) {
        if (const std::uint8_t start = starts.byte(); !file->scripts.empty() && start != 0) {
            const std::string& name = file->scripts[start % file->scripts.size()].name;
            const std::vector<std::int32_t> arguments{start - 128, start << 16};
            if (vm.startScript(name, arguments))
                plain.start(static_cast<std::size_t>(file->findScript(name)), arguments);
        }
        std::srand(1);
        plain.tick(tick);
        std::srand(1);
        vm.tick(tick);
        require(unitview::stateDifference(real, plain).empty(), "both interpreters agree");
    }
}

}  // namespace

void run(io::ByteView input) {
    Choices choices(input);
    Choices starts(choices.take(kTicks));
    accepts([&] { compare(starts, std::make_shared<const io::CobFile>(cobFrom(choices.rest()))); });
}

}  // namespace orb::fuzz
