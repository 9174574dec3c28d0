#include <algorithm>

#include "checked_replies.h"
#include "fuzzing.h"
#include "request_mutator.h"
#include "sandboxed_requests.h"
#include "session/unit_view_session.h"

// The message loop: lines of requests to a fresh session over a copy of the sample data.

namespace orb::fuzz {
namespace {

constexpr std::size_t kMaxLines = 24;

}  // namespace

void run(io::ByteView input) {
    SandboxedRequests requests(input, kMaxLines);
    unitview::UnitViewSession session;
    session.setDataRoots(requests.dataRoots());
    checkReplies(session, requests.text(), requests.lineCount());
}

}  // namespace orb::fuzz

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    if (seed % 3 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    const std::string text =
        orb::fuzz::mutateRequests({reinterpret_cast<const char*>(data), size}, seed);
    if (text.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
    std::ranges::copy(text, data);
    return text.size();
}
