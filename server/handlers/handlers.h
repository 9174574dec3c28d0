#pragma once

#include "server/payload.h"
#include "server/reply.h"
#include "session/unit_view_session.h"

/// The handlers of the command table. Each decodes its payload, calls one operation of a subsystem
/// and encodes the answer. A file holds one family of messages and is named after it; JSON forms
/// that several families or long replies need are in encode_*.
namespace orb::unitview::ipc::handlers {

// protocol.cpp
Reply hello(UnitViewSession&, const Payload&);
Reply ping(UnitViewSession&, const Payload&);
Reply shutdown(UnitViewSession&, const Payload&);

// data_roots.cpp
Reply setDataRoots(UnitViewSession&, const Payload&);
Reply clearDataRoots(UnitViewSession&, const Payload&);
Reply listVfsDir(UnitViewSession&, const Payload&);

// archives.cpp
Reply listArchiveContents(UnitViewSession&, const Payload&);
Reply archiveBrowseOpen(UnitViewSession&, const Payload&);
Reply archiveBrowsePreview(UnitViewSession&, const Payload&);
Reply archiveBrowseExtractOne(UnitViewSession&, const Payload&);
Reply archiveBrowseExtractDir(UnitViewSession&, const Payload&);
Reply archiveBrowseExtractAll(UnitViewSession&, const Payload&);

// game_assets.cpp: what the roots hold besides units
Reply getMasterPalette(UnitViewSession&, const Payload&);
Reply getProjectileSprite(UnitViewSession&, const Payload&);
Reply getSound(UnitViewSession&, const Payload&);

// units.cpp
Reply listUnits(UnitViewSession&, const Payload&);
Reply loadUnit(UnitViewSession&, const Payload&);
Reply compareUnits(UnitViewSession&, const Payload&);

// unit_view.cpp: how the front end shows a unit
Reply setSimMode(UnitViewSession&, const Payload&);
Reply renderConstants(UnitViewSession&, const Payload&);

// glb.cpp
Reply getUnitGlb(UnitViewSession&, const Payload&);
Reply getWeaponModelGlb(UnitViewSession&, const Payload&);

// model_edits.cpp
Reply modelGetUnitSummary(UnitViewSession&, const Payload&);
Reply modelGetPiece(UnitViewSession&, const Payload&);
Reply modelDuplicateFaces(UnitViewSession&, const Payload&);
Reply modelBleedThrough(UnitViewSession&, const Payload&);
Reply modelApplyFix(UnitViewSession&, const Payload&);
Reply modelUndo(UnitViewSession&, const Payload&);
Reply modelRedo(UnitViewSession&, const Payload&);
Reply modelRevert(UnitViewSession&, const Payload&);
Reply modelCommit(UnitViewSession&, const Payload&);

// textures.cpp
Reply unitTextures(UnitViewSession&, const Payload&);

// texture_remap.cpp
Reply textureSuggestRemap(UnitViewSession&, const Payload&);
Reply texturePreviewRemap(UnitViewSession&, const Payload&);
Reply textureApplyRemap(UnitViewSession&, const Payload&);

// build_pictures.cpp
Reply getUnitBuildpic(UnitViewSession&, const Payload&);
Reply listUnitBuildpicSources(UnitViewSession&, const Payload&);
Reply getUnitOrbBuildpic(UnitViewSession&, const Payload&);

// cob_control.cpp: the running script
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

// cob_source.cpp: scripts as sources
Reply cobCompile(UnitViewSession&, const Payload&);
Reply cobDisassemble(UnitViewSession&, const Payload&);
Reply cobGetUnitBos(UnitViewSession&, const Payload&);
Reply cobSourceCompare(UnitViewSession&, const Payload&);

// unit_health.cpp
Reply unitHealth(UnitViewSession&, const Payload&);

// lint_suppress.cpp
Reply lintSuppress(UnitViewSession&, const Payload&);
Reply lintUnsuppress(UnitViewSession&, const Payload&);

// conflict_scan.cpp
Reply conflictScan(UnitViewSession&, const Payload&);

// modernizer_preview.cpp
Reply modernizerPreview(UnitViewSession&, const Payload&);

// unit_sources.cpp: the files that units come from
Reply resolveUnitSource(UnitViewSession&, const Payload&);
Reply requireWritableSource(UnitViewSession&, const Payload&);
Reply restoreSourceFromBackup(UnitViewSession&, const Payload&);

// maps.cpp: a map and what stands on it
Reply mapList(UnitViewSession&, const Payload&);
Reply mapLoad(UnitViewSession&, const Payload&);
Reply mapExit(UnitViewSession&, const Payload&);
Reply mapSpawn(UnitViewSession&, const Payload&);
Reply mapSnapshot(UnitViewSession&, const Payload&);
Reply mapFeatures(UnitViewSession&, const Payload&);

// map_orders.cpp: what happens on a map
Reply mapMove(UnitViewSession&, const Payload&);
Reply mapTick(UnitViewSession&, const Payload&);

// map_pictures.cpp
Reply mapHeightmap(UnitViewSession&, const Payload&);
Reply mapMinimap(UnitViewSession&, const Payload&);
Reply mapTerrainTexture(UnitViewSession&, const Payload&);

// fbi.cpp
Reply fbiRaw(UnitViewSession&, const Payload&);
Reply fbiPatch(UnitViewSession&, const Payload&);
Reply saveFbiRaw(UnitViewSession&, const Payload&);

// unit_edits.cpp: whole units and mods
Reply createModFolder(UnitViewSession&, const Payload&);
Reply unitClone(UnitViewSession&, const Payload&);
Reply createCorpseStub(UnitViewSession&, const Payload&);
Reply saveUnit(UnitViewSession&, const Payload&);

// mod_packs.cpp: what units need, and archives of it
Reply unitDeps(UnitViewSession&, const Payload&);
Reply exportModPack(UnitViewSession&, const Payload&);
Reply exportMinModPack(UnitViewSession&, const Payload&);
Reply validateModPack(UnitViewSession&, const Payload&);

}  // namespace orb::unitview::ipc::handlers
