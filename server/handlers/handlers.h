#pragma once

#include "server/payload.h"
#include "server/reply.h"
#include "session/unit_view_session.h"

/// The handlers of the command table, one file per family. Each decodes its payload, calls one
/// operation of a subsystem and encodes the answer.
namespace orb::unitview::ipc::handlers {

// protocol.cpp
Reply hello(UnitViewSession&, const Payload&);
Reply ping(UnitViewSession&, const Payload&);
Reply shutdown(UnitViewSession&, const Payload&);

// data_roots.cpp
Reply setDataRoots(UnitViewSession&, const Payload&);
Reply clearDataRoots(UnitViewSession&, const Payload&);
Reply listVfsDir(UnitViewSession&, const Payload&);

// units.cpp
Reply listUnits(UnitViewSession&, const Payload&);
Reply loadUnit(UnitViewSession&, const Payload&);
Reply compareUnits(UnitViewSession&, const Payload&);
Reply setSimMode(UnitViewSession&, const Payload&);
Reply renderConstants(UnitViewSession&, const Payload&);

// archives.cpp
Reply listArchiveContents(UnitViewSession&, const Payload&);
Reply archiveBrowseOpen(UnitViewSession&, const Payload&);
Reply archiveBrowsePreview(UnitViewSession&, const Payload&);
Reply archiveBrowseExtractOne(UnitViewSession&, const Payload&);
Reply archiveBrowseExtractDir(UnitViewSession&, const Payload&);
Reply archiveBrowseExtractAll(UnitViewSession&, const Payload&);

// glb.cpp
Reply getUnitGlb(UnitViewSession&, const Payload&);
Reply getWeaponModelGlb(UnitViewSession&, const Payload&);
Reply unitTextures(UnitViewSession&, const Payload&);
Reply getMasterPalette(UnitViewSession&, const Payload&);

// build_pictures.cpp
Reply getUnitBuildpic(UnitViewSession&, const Payload&);
Reply listUnitBuildpicSources(UnitViewSession&, const Payload&);
Reply getUnitOrbBuildpic(UnitViewSession&, const Payload&);
Reply getProjectileSprite(UnitViewSession&, const Payload&);
Reply getSound(UnitViewSession&, const Payload&);

// cob_control.cpp
Reply cobReset(UnitViewSession&, const Payload&);
Reply cobStopAll(UnitViewSession&, const Payload&);
Reply cobStart(UnitViewSession&, const Payload&);
Reply cobTick(UnitViewSession&, const Payload&);
Reply cobLoadTemporary(UnitViewSession&, const Payload&);
Reply cobUnloadTemporary(UnitViewSession&, const Payload&);
Reply cobGetTrace(UnitViewSession&, const Payload&);
Reply cobInspect(UnitViewSession&, const Payload&);
Reply cobSetBreakpoints(UnitViewSession&, const Payload&);
Reply cobClearBreakpoints(UnitViewSession&, const Payload&);
Reply cobContinue(UnitViewSession&, const Payload&);
Reply cobStepInstruction(UnitViewSession&, const Payload&);
Reply cobStepLine(UnitViewSession&, const Payload&);

// cob_source.cpp
Reply cobCompile(UnitViewSession&, const Payload&);
Reply cobDisassemble(UnitViewSession&, const Payload&);
Reply cobGetUnitBos(UnitViewSession&, const Payload&);
Reply cobSourceCompare(UnitViewSession&, const Payload&);

// modernizer_preview.cpp
Reply unitHealth(UnitViewSession&, const Payload&);
Reply modernizerPreview(UnitViewSession&, const Payload&);
Reply lintSuppress(UnitViewSession&, const Payload&);
Reply lintUnsuppress(UnitViewSession&, const Payload&);
Reply conflictScan(UnitViewSession&, const Payload&);

// fbi.cpp
Reply resolveUnitSource(UnitViewSession&, const Payload&);
Reply requireWritableSource(UnitViewSession&, const Payload&);
Reply restoreSourceFromBackup(UnitViewSession&, const Payload&);
Reply fbiRaw(UnitViewSession&, const Payload&);
Reply saveFbiRaw(UnitViewSession&, const Payload&);
Reply fbiPatch(UnitViewSession&, const Payload&);

}  // namespace orb::unitview::ipc::handlers
