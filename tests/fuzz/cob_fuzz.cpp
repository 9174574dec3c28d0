#include "fuzzing.h"
#include "io/formats/cob_file.h"

// A script file: reading, and writing what was read.

namespace orb::fuzz {

void run(io::ByteView input) {
    io::CobFile cob;
    if (!accepts([&] { cob = io::parseCob(input); })) return;
    require(cob.code.size() * 4 <= input.size() && cob.scripts.size() * 4 <= input.size(),
            "nothing is longer than the file");
    for (const std::string& name : io::scriptNames(cob)) {
        const int found = cob.findScript(name);
        require(found >= 0 || name.empty(), "a script is found by its name");
    }
    const io::Bytes written = io::writeCob(cob);
    const io::CobFile again = io::parseCob(written);
    require(again.code == cob.code && again.pieces == cob.pieces &&
                again.staticVarCount == cob.staticVarCount && io::writeCob(again) == written,
            "a file reads as it was written");
}

}  // namespace orb::fuzz
