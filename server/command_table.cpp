#include "server/command_table.h"

#include <algorithm>
#include <array>

#include "server/handlers/handlers.h"

namespace orb::unitview::ipc {
namespace {

// clang-format off
constexpr auto kCommands = std::to_array<Command>({
    {"hello", "hello", Effect::none, "", handlers::hello},
    {"ping", "pong", Effect::none, "", handlers::ping},
    {"shutdown", "shutdown", Effect::stop, "", handlers::shutdown},
    {"set-data-roots", "data-roots-set", Effect::none, "bad data-roots payload: ", handlers::setDataRoots},
    {"clear-data-roots", "data-roots-cleared", Effect::none, "", handlers::clearDataRoots},
    {"list-units", "list-units", Effect::none, "", handlers::listUnits},
    {"load-unit", "unit-loaded", Effect::transforms, "bad load-unit payload: ", handlers::loadUnit},
    {"compare-units", "unit-compare", Effect::none, "bad compare-units payload: ", handlers::compareUnits},
    {"get-unit-glb", "unit-glb", Effect::frame, "", handlers::getUnitGlb},
    {"modernizer-preview", "modernizer-preview", Effect::none, "", handlers::modernizerPreview},
    {"get-projectile-sprite", "projectile-sprite", Effect::frame, "", handlers::getProjectileSprite},
    {"get-weapon-model-glb", "weapon-model-glb", Effect::frame, "", handlers::getWeaponModelGlb},
    {"get-sound", "sound", Effect::frame, "", handlers::getSound},
    {"list-vfs-dir", "vfs-dir", Effect::none, "", handlers::listVfsDir},
    {"get-master-palette", "master-palette", Effect::none, "", handlers::getMasterPalette},
    {"get-unit-buildpic", "unit-buildpic", Effect::none, "", handlers::getUnitBuildpic},
    {"list-unit-buildpic-sources", "unit-buildpic-sources", Effect::none, "", handlers::listUnitBuildpicSources},
    {"get-unit-orb-buildpic", "unit-orb-buildpic", Effect::none, "", handlers::getUnitOrbBuildpic},
    {"cob-reset", "cob-reset", Effect::transforms, "", handlers::cobReset},
    {"cob-stop-all", "cob-stop-all", Effect::none, "", handlers::cobStopAll},
    {"cob-start", "cob-started", Effect::none, "bad cob-start payload: ", handlers::cobStart},
    {"cob-tick", "cob-ticked", Effect::transforms, "", handlers::cobTick},
    {"cob-disassemble", "cob-disassembled", Effect::none, "", handlers::cobDisassemble},
    {"cob-compile", "cob-compiled", Effect::none, "", handlers::cobCompile},
    {"cob-load-temporary", "cob-temporary-loaded", Effect::transforms, "bad cob-load-temporary payload: ", handlers::cobLoadTemporary},
    {"cob-unload-temporary", "cob-temporary-unloaded", Effect::transforms, "", handlers::cobUnloadTemporary},
    {"cob-get-trace", "cob-get-trace", Effect::none, "bad cob-get-trace payload: ", handlers::cobGetTrace},
    {"cob-inspect", "cob-inspected", Effect::none, "", handlers::cobInspect},
    {"cob-get-unit-bos", "cob-unit-bos", Effect::none, "", handlers::cobGetUnitBos},
    {"cob-set-breakpoints", "cob-breakpoints-set", Effect::none, "bad cob-set-breakpoints: ", handlers::cobSetBreakpoints},
    {"cob-clear-breakpoints", "cob-breakpoints-cleared", Effect::none, "", handlers::cobClearBreakpoints},
    {"cob-continue", "cob-resumed", Effect::transforms, "", handlers::cobContinue},
    {"cob-step-instruction", "cob-resumed", Effect::transforms, "", handlers::cobStepInstruction},
    {"cob-step-line", "cob-resumed", Effect::transforms, "", handlers::cobStepLine},
    {"cob-source-compare", "cob-source-compare", Effect::none, "bad cob-source-compare payload: ", handlers::cobSourceCompare},
    {"set-sim-mode", "sim-mode-set", Effect::none, "bad set-sim-mode payload: ", handlers::setSimMode},
    {"render-constants", "render-constants", Effect::none, "", handlers::renderConstants},
    {"resolve-unit-source", "unit-source", Effect::none, "bad resolve-unit-source: ", handlers::resolveUnitSource},
    {"require-writable-source", "writable-source", Effect::none, "bad require-writable-source: ", handlers::requireWritableSource},
    {"fbi-raw", "fbi-raw", Effect::none, "", handlers::fbiRaw},
    {"fbi-patch", "fbi-patched", Effect::none, "", handlers::fbiPatch},
    {"save-fbi-raw", "fbi-saved-raw", Effect::none, "", handlers::saveFbiRaw},
    {"create-corpse-stub", "corpse-stub-created", Effect::none, "", handlers::createCorpseStub},
    {"lint-suppress", "lint-suppressed", Effect::none, "", handlers::lintSuppress},
    {"lint-unsuppress", "lint-unsuppressed", Effect::none, "", handlers::lintUnsuppress},
    {"texture-suggest-remap", "texture-remap-suggestion", Effect::none, "", handlers::textureSuggestRemap},
    {"texture-preview-remap", "texture-remap-preview", Effect::none, "", handlers::texturePreviewRemap},
    {"texture-apply-remap", "texture-remap-applied", Effect::none, "", handlers::textureApplyRemap},
    {"unit-textures", "unit-textures", Effect::none, "", handlers::unitTextures},
    {"conflict-scan", "conflict-scan-result", Effect::none, "", handlers::conflictScan},
    {"model-undo", "model-undo", Effect::none, "", handlers::modelUndo},
    {"model-redo", "model-redo", Effect::none, "", handlers::modelRedo},
    {"model-get-piece", "model-piece", Effect::none, "", handlers::modelGetPiece},
    {"model-apply-fix", "model-fix-applied", Effect::none, "", handlers::modelApplyFix},
    {"model-commit", "model-committed", Effect::none, "", handlers::modelCommit},
    {"model-revert", "model-reverted", Effect::none, "", handlers::modelRevert},
    {"model-get-unit-summary", "model-unit-summary", Effect::none, "", handlers::modelGetUnitSummary},
    {"model-bleed-through", "model-bleed-through", Effect::none, "", handlers::modelBleedThrough},
    {"model-duplicate-faces", "model-duplicate-faces", Effect::none, "", handlers::modelDuplicateFaces},
    {"unit-clone", "unit-cloned", Effect::none, "", handlers::unitClone},
    {"unit-health", "unit-health", Effect::none, "", handlers::unitHealth},
    {"save-unit", "unit-saved", Effect::none, "bad save-unit payload: ", handlers::saveUnit},
    {"restore-source-from-backup", "source-restored", Effect::none, "", handlers::restoreSourceFromBackup},
    {"create-mod-folder", "mod-folder-created", Effect::none, "", handlers::createModFolder},
    {"export-mod-pack", "mod-pack-exported", Effect::none, "bad export-mod-pack payload: ", handlers::exportModPack},
    {"unit-deps", "unit-deps", Effect::none, "bad unit-deps payload: ", handlers::unitDeps},
    {"export-min-mod-pack", "min-mod-pack-exported", Effect::none, "bad export-min-mod-pack payload: ", handlers::exportMinModPack},
    {"validate-mod-pack", "mod-pack-validated", Effect::none, "bad validate-mod-pack payload: ", handlers::validateModPack},
    {"list-archive-contents", "archive-contents", Effect::none, "bad list-archive-contents payload: ", handlers::listArchiveContents},
    {"archive-browse-open", "archive-browse-open", Effect::none, "", handlers::archiveBrowseOpen},
    {"archive-browse-preview", "archive-browse-preview", Effect::none, "", handlers::archiveBrowsePreview},
    {"archive-browse-extract-one", "archive-browse-extract-one", Effect::none, "", handlers::archiveBrowseExtractOne},
    {"archive-browse-extract-dir", "archive-browse-extract-dir", Effect::none, "", handlers::archiveBrowseExtractDir},
    {"archive-browse-extract-all", "archive-browse-extract-all", Effect::none, "", handlers::archiveBrowseExtractAll},
    {"map-list", "map-list-reply", Effect::none, "", handlers::mapList},
    {"map-load", "map-load-reply", Effect::none, "bad map-load payload: ", handlers::mapLoad},
    {"map-exit", "map-exit-reply", Effect::none, "", handlers::mapExit},
    {"map-spawn", "map-spawn-reply", Effect::none, "bad map-spawn payload: ", handlers::mapSpawn},
    {"map-move", "map-move-reply", Effect::none, "bad map-move payload: ", handlers::mapMove},
    {"map-tick", "map-tick-reply", Effect::none, "", handlers::mapTick},
    {"map-snapshot", "map-snapshot-reply", Effect::none, "", handlers::mapSnapshot},
    {"map-heightmap", "map-heightmap-reply", Effect::frame, "", handlers::mapHeightmap},
    {"map-minimap", "map-minimap-reply", Effect::frame, "", handlers::mapMinimap},
    {"map-features", "map-features-reply", Effect::none, "", handlers::mapFeatures},
    {"map-terrain-texture", "map-terrain-texture-reply", Effect::frame, "", handlers::mapTerrainTexture},
});
// clang-format on

}  // namespace

std::span<const Command> commandTable() {
    return kCommands;
}

const Command* findCommand(std::string_view type) {
    const auto found = std::ranges::find(kCommands, type, &Command::type);
    return found == kCommands.end() ? nullptr : &*found;
}

}  // namespace orb::unitview::ipc
