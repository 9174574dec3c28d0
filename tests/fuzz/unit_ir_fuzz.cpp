#include "fuzzing.h"
#include "io/formats/fbi.h"
#include "model/mesh.h"
#include "session/unit_ir.h"

// A unit in one document: what is read can be used as what comes from the game's own files can.

namespace orb::fuzz {

void run(io::ByteView input) {
    pipeline::UnitIr unit;
    if (!accepts([&] { unit = pipeline::parseUnitIr(input); })) return;
    require(unit.definition.child("UNITINFO") != nullptr, "there is a definition");
    io::parseFbiUnitInfo(unit.definition);
    accepts([&] { unitview::buildMesh(unit.model); });
    accepts([&] { io::write3do(unit.model); });
    if (unit.script) io::parseCob(io::writeCob(*unit.script));
}

}  // namespace orb::fuzz
