/**
 * The messages of the back end, for front ends written in TypeScript: what each request takes and
 * what its reply holds. docs/protocol.md says what they mean, their errors and the order of things.
 *
 * A front end gets typed requests from one generic function over `Requests` and `Replies`:
 *
 *     function ask<T extends MessageType>(type: T, ...data: Payload<T>): Promise<Replies[T]>;
 *
 *     const { units } = await ask("list-units", { side: "FEN" });
 *     await ask("ping");
 *
 * It writes a `Request` as one line, and resolves with the data of the `Reply` line that has the
 * same `seq`, or rejects with the message of an `ErrorReply`: front_end.ts does it.
 *
 * Members that do not apply are absent, never null. Paths are absolute or relative as they were
 * given; what is called a location is a path, or "ARCHIVE :: PATH" inside an archive.
 */

// ---- Lines ----

/** One line on standard input. Without `seq` it counts as 0. */
export type Request<T extends MessageType = MessageType> = T extends MessageType
    ? { type: T; seq?: number } & (None extends Requests[T]
          ? { data?: Requests[T] }
          : { data: Requests[T] })
    : never;

/** One line on standard output, in the order of the requests. */
export type Reply<T extends MessageType = MessageType> = T extends MessageType
    ? { type: ReplyTypes[T]; seq: number; data: Replies[T] }
    : never;

/** In place of a reply. `seq` is 0 when the request's could not be read. */
export interface ErrorReply {
    type: "error";
    seq: number;
    data: { message: string };
}

/** Follows the reply to a `TransformsMessage`, unless the loaded unit has no script. */
export interface PieceTransformsEvent {
    type: "piece-transforms";
    seq: 0;
    data: PieceTransforms;
}

/** Before the reply to a request with `progress`, when that takes long. */
export interface ProgressEvent {
    type: "progress";
    seq: 0;
    data: {
        /** The request's `seq`. */
        forSeq: number;
        /** What it is at. */
        label: string;
        done: number;
        total: number;
    };
}

export type Line = Reply | ErrorReply | PieceTransformsEvent | ProgressEvent;

// ---- Messages ----

export type MessageType = keyof Messages;
/** What each message takes as `data`. */
export type Requests = { [T in MessageType]: Messages[T]["request"] };
/** What each reply holds as `data`. */
export type Replies = { [T in MessageType]: Messages[T]["reply"] };
/** The `type` of each reply. */
export type ReplyTypes = { [T in MessageType]: Messages[T]["replyType"] };
/** The arguments that a message takes: none needed where every member is optional. */
export type Payload<T extends MessageType> = None extends Requests[T]
    ? [data?: Requests[T]]
    : [data: Requests[T]];

/**
 * Messages whose reply is followed by one frame on descriptor 3: the length in 4 bytes,
 * little-endian, and that many bytes. The length is the reply's `byteSize`.
 */
export type FrameMessage =
    | "get-unit-glb" | "get-weapon-model-glb" | "get-projectile-sprite" | "get-sound"
    | "map-heightmap" | "map-minimap" | "map-terrain-texture";

/** Messages whose reply is followed by the event piece-transforms. */
export type TransformsMessage =
    | "load-unit" | "cob-tick" | "cob-reset" | "cob-continue" | "cob-step-instruction"
    | "cob-step-line" | "cob-load-temporary" | "cob-unload-temporary";

export interface Messages {
    // Process
    "hello": Message<None, "hello", Hello>;
    "ping": Message<None, "pong", None>;
    /** The process ends after the reply. */
    "shutdown": Message<None, "shutdown", None>;

    // Data roots
    "set-data-roots": Message<DataRoots, "data-roots-set", MountedRoots>;
    "clear-data-roots": Message<None, "data-roots-cleared", None>;
    "list-vfs-dir": Message<{ path?: string }, "vfs-dir", VfsDirectory>;

    // Archives
    "list-archive-contents": Message<ArchivePath, "archive-contents", ArchiveContents>;
    "archive-browse-open": Message<ArchivePath, "archive-browse-open", ArchiveTree>;
    "archive-browse-preview": Message<PreviewRequest, "archive-browse-preview", ArchivePreview>;
    "archive-browse-extract-one": Message<ExtractOne, "archive-browse-extract-one", ExtractedFile>;
    "archive-browse-extract-dir": Message<ExtractDirectory, "archive-browse-extract-dir", Extraction>;
    "archive-browse-extract-all": Message<ExtractAll, "archive-browse-extract-all", Extraction>;

    // Units
    "list-units": Message<ListRequest, "list-units", { units: ListedUnit[] }>;
    "load-unit": Message<{ name: string; report?: boolean }, "unit-loaded", LoadedUnit>;
    "compare-units": Message<{ names: string[] }, "unit-compare", { units: ComparedUnit[] }>;
    "set-sim-mode": Message<{ mode: SimMode }, "sim-mode-set", { mode: SimMode }>;
    "render-constants": Message<None, "render-constants", RenderConstants>;

    // Scripts
    "cob-start": Message<StartRequest, "cob-started", { report?: StartReport }>;
    "cob-tick": Message<TickRequest, "cob-ticked", { scriptRunning?: boolean } & MaybeReported>;
    "cob-reset": Message<AsksReport, "cob-reset", ThreadCount & MaybeReported>;
    "cob-stop-all": Message<None, "cob-stop-all", ThreadCount>;
    "cob-set-breakpoints": Message<Breakpoints, "cob-breakpoints-set", BreakpointsSet>;
    "cob-clear-breakpoints": Message<None, "cob-breakpoints-cleared", None>;
    "cob-continue": Message<AsksReport, "cob-resumed", MaybeReported>;
    "cob-step-instruction": Message<AsksReport, "cob-resumed", MaybeReported>;
    "cob-step-line": Message<AsksReport, "cob-resumed", MaybeReported>;
    "cob-inspect": Message<InspectRequest, "cob-inspected", Inspection>;
    "cob-get-trace": Message<TraceRequest, "cob-get-trace", Trace>;
    "cob-load-temporary": Message<TemporaryRequest, "cob-temporary-loaded", TemporaryScript>;
    "cob-unload-temporary": Message<AsksReport, "cob-temporary-unloaded", RunningScript>;

    // Script sources
    "cob-compile": Message<CompileRequest, "cob-compiled", Compilation>;
    "cob-disassemble": Message<DisassembleRequest, "cob-disassembled", Disassembly>;
    "cob-get-unit-bos": Message<MaybeNamed & { report?: boolean }, "cob-unit-bos", UnitSourceText>;
    "cob-source-compare": Message<MaybeNamed & { source?: string }, "cob-source-compare", SourceComparison>;

    // Models and pictures
    "get-unit-glb": Message<MaybeNamed & { teamColor?: TeamColor }, "unit-glb", UnitGlb>;
    "get-weapon-model-glb": Message<WeaponModelRequest, "weapon-model-glb", WeaponGlb>;
    "get-master-palette": Message<None, "master-palette", { colors: Rgba[] }>;
    "get-unit-buildpic": Message<MaybeNamed & { format?: BuildpicFormat }, "unit-buildpic", Buildpic>;
    "list-unit-buildpic-sources": Message<MaybeNamed, "unit-buildpic-sources", BuildpicSources>;
    "get-unit-orb-buildpic": Message<MaybeNamed, "unit-orb-buildpic", ButtonPictures>;
    "unit-textures": Message<MaybeNamed, "unit-textures", { textures: UnitTexture[] }>;
    "get-sound": Message<{ name: string }, "sound", Sound>;
    "get-projectile-sprite": Message<{ weapon: string }, "projectile-sprite", ProjectileSprite>;

    // Sources and edits
    "resolve-unit-source": Message<{ name: string }, "unit-source", ResolvedSource>;
    "require-writable-source": Message<{ name: string }, "writable-source", WritableSource>;
    "restore-source-from-backup": Message<{ name: string }, "source-restored", RestoredSource>;
    "fbi-raw": Message<MaybeNamed, "fbi-raw", RawDefinition>;
    "save-fbi-raw": Message<SaveRequest, "fbi-saved-raw", SaveResult>;
    "fbi-patch": Message<PatchRequest, "fbi-patched", PatchResult>;
    "create-corpse-stub": Message<CorpseRequest, "corpse-stub-created", CorpseStub>;
    "unit-clone": Message<CloneRequest, "unit-cloned", ClonedUnit>;
    "save-unit": Message<SaveUnitRequest, "unit-saved", SavedUnit>;
    "create-mod-folder": Message<{ path: string; mount?: boolean }, "mod-folder-created", ModFolder>;
    "export-mod-pack": Message<ModPackRequest, "mod-pack-exported", ModPack>;
    "unit-deps": Message<{ units?: string[]; name?: string; recursive?: boolean }, "unit-deps", UnitDependencies>;
    "export-min-mod-pack": Message<MinModPackRequest, "min-mod-pack-exported", MinModPack>;
    "validate-mod-pack": Message<PackToValidate, "mod-pack-validated", PackValidation>;

    // Diagnostics
    "unit-health": Message<HealthRequest, "unit-health", UnitHealth>;
    "modernizer-preview": Message<None, "modernizer-preview", ModernizerPreview>;
    "lint-suppress": Message<LintRule, "lint-suppressed", ChangedLintRule>;
    "lint-unsuppress": Message<LintRule, "lint-unsuppressed", ChangedLintRule>;
    "conflict-scan": Message<MaybeLong, "conflict-scan-result", ConflictReport>;

    // Model edits
    "model-get-unit-summary": Message<None, "model-unit-summary", ModelSummary>;
    "model-get-piece": Message<{ piece: PieceKey }, "model-piece", ModelPiece>;
    "model-duplicate-faces": Message<DuplicatesRequest, "model-duplicate-faces", DuplicateFaces>;
    "model-bleed-through": Message<BleedThroughRequest, "model-bleed-through", BleedThrough>;
    "model-apply-fix": Message<ModelFix, "model-fix-applied", AppliedFix>;
    "model-undo": Message<None, "model-undo", UndoneFix>;
    "model-redo": Message<None, "model-redo", UndoneFix>;
    "model-revert": Message<None, "model-reverted", { hadEdits: boolean }>;
    "model-commit": Message<CommitRequest, "model-committed", WriteResult>;

    // Texture edits
    "texture-suggest-remap": Message<
        { textureName: string; direction?: "away" | "toward" }, "texture-remap-suggestion",
        RemapSuggestion>;
    "texture-preview-remap": Message<
        { textureName: string; map?: IndexChange[] }, "texture-remap-preview", RemapPreview>;
    "texture-apply-remap": Message<RemapRequest, "texture-remap-applied", RemapResult>;

    // Map mode
    "map-list": Message<None, "map-list-reply", { maps: MapEntry[] }>;
    "map-load": Message<MapRequest, "map-load-reply", LoadedMap>;
    "map-exit": Message<None, "map-exit-reply", { wasLoaded: boolean }>;
    "map-spawn": Message<Spawn, "map-spawn-reply", SpawnedUnits | SpawnedFeature>;
    "map-move": Message<MoveRequest, "map-move-reply", OrderAnswers>;
    "map-tick": Message<MapTickRequest, "map-tick-reply", Ticked>;
    "map-snapshot": Message<SnapshotRequest, "map-snapshot-reply", Snapshot>;
    "map-heightmap": Message<HeightmapRequest, "map-heightmap-reply", Heightmap>;
    /** The frame is a PNG. */
    "map-minimap": Message<None, "map-minimap-reply", Minimap>;
    "map-features": Message<None, "map-features-reply", MapFeatures>;
    /** The frame is an indexed PNG. */
    "map-terrain-texture": Message<TerrainRequest, "map-terrain-texture-reply", TerrainTexture>;
}

interface Message<Payload, ReplyType extends string, Data> {
    request: Payload;
    replyType: ReplyType;
    reply: Data;
}

/** No members. */
export type None = Record<string, never>;

/** A unit's name; the loaded unit without it. */
interface MaybeNamed {
    name?: string;
}

/** Of requests that can take long. */
interface MaybeLong {
    /** Asks for `ProgressEvent`s. */
    progress?: boolean;
}

// ---- Process ----

export interface Hello {
    product: "ORB Unit Editor";
    protocolVersion: number;
    version: string;
}

// ---- Data roots ----

export interface DataRoots extends MaybeLong {
    /** The game's directory. */
    taDataPath: string;
    /** Mod folders, the first one wins. */
    modPaths?: string[];
    mapsPath?: string;
    /** Asks for `allLayers`. */
    report?: boolean;
}

export interface MountedRoots {
    /** For a request with `report`: all roots in mount order. */
    allLayers?: { kind: "mod" | "base" | "maps"; path: string; archiveCount: number; exists: boolean; unreadable?: { path: string; message: string }[] }[];
    modArchives: number;
    baseArchives: number;
    mapsLayered: boolean;
    layers: { kind: "base" | "maps"; path: string; archiveCount: number }[];
    unitCount: number;
}

export interface VfsDirectory {
    path: string;
    /** Names, not paths. */
    directories: string[];
    files: string[];
}

// ---- Archives ----

interface ArchivePath {
    /**
     * Of the archive or a folder of a data root: absolute, or relative to any data root. Empty: the
     * stack of all data roots.
     */
    path: string;
}

/** Beside the name or path of a listed file. */
interface ListedFile {
    /** In bytes once decoded. */
    size: number;
    compressed: boolean;
    /** Of the stack's files. */
    source?: Source;
}

interface MaybeStack extends ArchivePath {
    /** Of the stack: the paths of the archives that are mounted, the first one wins. */
    archives?: string[];
}

export interface ArchiveContents extends MaybeStack {
    bank: boolean;
    /** Of all entries, also those beyond the 100,000 that are listed. */
    entryCount: number;
    entries: (ListedFile & { path: string })[];
    truncated: boolean;
}

export interface ArchiveTree extends MaybeStack {
    bank: boolean;
    fileCount: number;
    directoryCount: number;
    /** Bytes of all files once decoded. */
    totalSize: number;
    truncated: boolean;
    root: ArchiveDirectory;
}

export interface ArchiveDirectory {
    /** Empty for the root. */
    name: string;
    directories: ArchiveDirectory[];
    files: (ListedFile & { name: string })[];
}

interface PreviewRequest extends ArchivePath {
    internalPath: string;
    /** Of text; 65,536 when absent. */
    maxBytes?: number;
    /** The whole of a model or a sound. */
    as?: "glb" | "wav";
    /** Of an animation file, by name or number; the first when absent. */
    entry?: string | number;
    /** Of that entry; 0 when absent. */
    frame?: number;
}

export type ArchivePreview = ArchivePath & {
    internalPath: string;
    /** Bytes of the whole file once decoded. */
    size: number;
    truncated: boolean;
} & (
        | { kind: "text"; text: string }
        /** `png_b64`: a PNG file in base64. */
        | { kind: "image"; width: number; height: number; png_b64: string; entries?: GafEntry[] }
        /** `glb_b64`: for a request with `as`, binary glTF in base64. */
        | { kind: "model"; pieces: string[]; vertexCount: number; primitiveCount: number; glb_b64?: string }
        /** `wav_b64`: for a request with `as`, the file in base64. */
        | { kind: "sound"; wav_b64: string }
        | { kind: "script"; scripts: string[]; pieces: string[] }
        /** `hex`: the first 256 bytes. */
        | { kind: "binary"; hex: string }
    );

/** An entry of an animation file; the size is that of its first frame. */
export interface GafEntry {
    name: string;
    frames: number;
    width: number;
    height: number;
}

interface ExtractAll extends ArchivePath, MaybeLong {
    /** A folder. */
    destination: string;
    /** False when absent: files that exist are kept. */
    overwrite?: boolean;
}

interface ExtractOne extends ExtractAll {
    internalPath: string;
}

interface ExtractDirectory extends ExtractAll {
    directory: string;
}

export interface ExtractedFile {
    writtenPath: string;
    byteSize: number;
}

export interface Extraction {
    fileCount: number;
    byteSize: number;
    skipped: { internalPath: string; reason: string }[];
}

// ---- Units ----

interface ListRequest {
    side?: string;
    search?: string;
    /** Mounts the data roots again first. */
    refresh?: boolean;
    /** Asks for `source`. */
    report?: boolean;
}

export interface ListedUnit {
    name: string;
    side: string;
    title: string;
    displayName: string;
    /** The name that its build picture goes by. */
    buildPic: string;
    /** Where the definition lies, for a request with `report`. */
    source?: Source;
}

export interface LoadedUnit {
    unitName: string;
    /** From a document unit-ir/NAME.json. */
    loadedFromIR: boolean;
    /** Edits of its model that had waited are there again. */
    hasEdits?: true;
    /** Edits of a model that had waited, or were not saved, have ended. */
    editsDropped?: true;
    source?: Source;
    fbi: Fbi;
    /** The base game's definition, when a mod's is loaded. */
    baselineFbi?: Fbi;
    /** When the definition names a class. */
    movementClassInfo?: MovementClass;
    pieceCount: number;
    pieceTree: Piece;
    /** In the order of `Piece.index`. */
    modelPieceNames: string[];
    /** These four are empty or 0 without a script. */
    cobFunctions: string[];
    cobVersion: number;
    cobNumStaticVars: number;
    cobPieceNames: string[];
    /** One for each slot in use. */
    weapons: UnitWeapon[];
    sounds: { category: string; events: SoundEvent[] };
    /** For a request with `report`. */
    buildMenu?: BuildMenuEntry[];
    /** Likewise, of a unit with a script. */
    report?: ScriptReport;
}

/** A unit that the menus let this one build; whether there is such a unit is another question. */
export interface BuildMenuEntry {
    unit: string;
    /** The menu's page and the place on it, where a file of download/ tells them. */
    menu?: number;
    button?: number;
    source: Source;
}

/** Where a file lies. */
export type Source =
    | { kind: "loose"; path: string; inBaseTa: boolean }
    | { kind: "archive"; path: string; internalPath: string; inBaseTa: boolean };

export type MovementClass =
    | { found: false; name: string; resolvedName: string }
    | {
          found: true;
          name: string;
          /** As the class itself is spelt. */
          resolvedName: string;
          footprintX: number;
          footprintZ: number;
          maxSlope: number;
          maxWaterDepth: number;
          minWaterDepth: number;
          maxWaterSlope: number;
          /** The class sets one of the slopes or depths itself. */
          hasAuthoredConstraint: boolean;
          /** Locations. */
          sourcePath: string;
          shadowedSources: string[];
      };

export interface Piece {
    name: string;
    index: number;
    /** Relative to the parent, in model units. */
    position: [x: number, y: number, z: number];
    vertexCount: number;
    primitiveCount: number;
    /** Index of the face that is the ground plate. */
    selectionPrimitive?: number;
    children: Piece[];
}

export type UnitWeapon =
    | { name: string; missing: true }
    | {
          name: string;
          missing?: undefined;
          /** A location. */
          sourcePath: string;
          values: Record<string, string>;
          sections: Record<string, Record<string, string>>;
      };

export interface SoundEvent {
    event: "select" | "ok" | "arrived" | "cant" | "build" | "engineLoop";
    /** The first sound, empty without one. */
    name: string;
    count: number;
}

export type ComparedUnit =
    | { found: false; name: string }
    | { found: true; name: string; source: Source; fbi: Fbi };

export type SimMode = "static" | "ground" | "water";

export interface RenderConstants {
    cabinetYPitch: number;
    /** In model units. */
    orthoDepthRange: number;
    /** Column-major. */
    cabinetView: [
        number, number, number, number, number, number, number, number,
        number, number, number, number, number, number, number, number,
    ];
    "model-origin": [x: number, y: number, z: number];
    groundContact: number;
    tiltFromVerticalDeg: number;
    azimuthDeg: number;
    light: { direction: [x: number, y: number, z: number]; ambient: number; diffuse: number };
}

/** Every known key of a definition, defaults filled in. */
export type Fbi = Record<FbiText, string> &
    Record<FbiInteger | FbiFraction, number> &
    Record<FbiFlag, boolean> & { buildOptions: string[] };

/** Keys of [UNITINFO], in lower case. */
type FbiText =
    | "unitname" | "objectname" | "soundcategory" | "description" | "side" | "category"
    | "tedclass" | "badtargetcategory" | "nochasecategory" | "wpri_badtargetcategory"
    | "wsec_badtargetcategory" | "wspe_badtargetcategory" | "explodeas" | "selfdestructas"
    | "movementclass" | "script" | "scriptname" | "weapon1" | "weapon2" | "weapon3" | "corpse"
    | "yardmap" | "buildpic" | "name" | "copyright" | "version" | "defaultmissiontype";
type FbiInteger =
    | "buildcostenergy" | "buildcostmetal" | "buildtime" | "maxdamage" | "turnrate"
    | "sightdistance" | "builddistance" | "workertime" | "buildmenu1" | "buildmenu2"
    | "buildmenu3" | "attackrunlength" | "radardistance" | "sonardistance"
    | "radardistancejam" | "sonardistancejam" | "cloakcost" | "cloakcostmoving"
    | "mincloakdistance" | "footprintx" | "footprintz" | "maxwaterdepth" | "minwaterdepth"
    | "standingfireorder" | "standingmoveorder" | "bmcode" | "maxslope" | "steeringmode"
    | "moverate2" | "buildangle" | "transportcapacity" | "transportsize"
    | "selfdestructcountdown" | "kamikazedistance" | "maneuverleashlength" | "healtime"
    | "ai_limit" | "sortbias" | "zbuffer";
type FbiFraction =
    | "maxvelocity" | "energymake" | "metalmake" | "energyuse" | "metaluse" | "extractsmetal"
    | "windgenerator" | "energystorage" | "metalstorage" | "cruisealt" | "bankscale"
    | "acceleration" | "brakerate" | "damagemodifier" | "waterline" | "pitchscale"
    | "ai_weight";
type FbiFlag =
    | "canmove" | "canattack" | "builder" | "canguard" | "canpatrol" | "canreclamate"
    | "cancapture" | "commander" | "candgun" | "tidalgenerator" | "canfly" | "hoverattack"
    | "stealth" | "immunetoparalyzer" | "activatewhenbuilt" | "onoffable" | "floater"
    | "canhover" | "upright" | "amphibious" | "mobilestandorders" | "canstop" | "canload"
    | "cantbetransported" | "canresurrect" | "firestandorders" | "kamikaze" | "shootme"
    | "isairbase" | "isfeature" | "istargetingupgrade" | "antiweapons" | "init_cloaked"
    | "digger" | "noshadow" | "hidedamage" | "downloadable" | "norestrict" | "showplayername";

// ---- Scripts ----

/** A position in the code, counted in words. */
type CodeOffset = number;

interface ThreadCount {
    threadCount: number;
}

export interface PieceTransforms extends ThreadCount {
    tick: number;
    /** One for each model piece. Offsets in model units, angles in radians. */
    transforms: PieceTransform[];
}

export interface PieceTransform {
    piece: string;
    tx: number;
    ty: number;
    tz: number;
    rx: number;
    ry: number;
    rz: number;
    visible: boolean;
}

/** A source line's code, both ends included. */
export interface LineSpan {
    from: CodeOffset;
    to: CodeOffset;
    line: number;
    /** The included file that the line is in. */
    file?: string;
}

interface Breakpoints {
    offsets?: CodeOffset[];
    lineSpans?: LineSpan[];
    /** Of the source itself, from 1. */
    lines?: number[];
}

export interface BreakpointsSet {
    /** Where those on `lines` are, in the same order. */
    breakpoints?: ({ line: number } & (
        | { isVerified: true; offset: CodeOffset }
        | { isVerified: false }
    ))[];
}

interface AsksReport {
    report?: boolean;
}

interface MaybeReported {
    report?: ScriptReport;
}

/** What the event says, and whether and where the script is paused. */
export interface ScriptReport extends PieceTransforms {
    isPaused: boolean;
    pausedOffset?: CodeOffset;
    /** Id of the thread that goes on first. */
    pausedThread?: number;
    script?: string;
    line?: number;
    /** The included file that the line is in. */
    file?: string;
}

export interface StartReport extends ScriptReport {
    threadId: number;
}

interface StartRequest extends AsksReport {
    name: string;
    args?: number[];
}

interface TickRequest extends AsksReport {
    /** 1 to 60 (1 when absent), each a thirtieth of a second. */
    ticks?: number;
    script?: string;
}

interface TemporaryRequest extends AsksReport {
    cob_b64: string;
}

interface InspectRequest {
    /** Shows so many of each stack's newest values. */
    stackLimit?: number;
    /** Written before the reply is made, all or nothing. */
    set?: {
        /** By index. */
        statics?: Record<string, number>;
        /** `thread` is an id. */
        locals?: { thread: number; index: number; value: number }[];
        /** By id. */
        unitValues?: Record<string, number>;
    };
}

export interface Inspection extends ThreadCount {
    tick: number;
    paused: boolean;
    /** While paused. */
    pausedOffset?: CodeOffset;
    threads: Thread[];
    statics: Variable[];
    sysvars: { valueId: number; valueName: string; value: number }[];
    scriptFamilies: Record<string, ScriptFamily>;
}

export interface Thread {
    index: number;
    /** Names the thread everywhere else. */
    id: number;
    state: "run" | "sleep" | "wait-turn" | "wait-move" | "dead";
    script: string;
    scriptPc: CodeOffset;
    /** A tick. */
    sleepUntil: number;
    waitPiece: number;
    waitAxis: number;
    signalMask: number;
    /** The bottom first. */
    stack: number[];
    /** The outermost first. */
    callStack: { script: string; scriptPc: CodeOffset }[];
    locals: Variable[];
}

interface Variable {
    index: number;
    value: number;
}

export type ScriptFamily =
    | "lifecycle" | "activate" | "weapon-aim" | "weapon-fire" | "weapon-query" | "movement"
    | "building" | "transport" | "state" | "helper";

interface TraceRequest {
    /** Switches recording, which is on at first. */
    enable?: boolean;
    /** Empties the trace after the reply. */
    clear?: boolean;
    /** The newest so many of at most 4,096. */
    maxEntries?: number;
    /** Only entries behind this one, with their numbers. */
    since?: number;
}

export interface Trace {
    enabled: boolean;
    /** Of those in this reply. */
    entryCount: number;
    entries: TraceEntry[];
}

export interface TraceEntry {
    tick: number;
    thread: number;
    /** In words, as "turn torso y-axis to 16384 speed 8192". */
    event: string;
    piece?: string;
    valueId?: number;
    valueName?: string;
    result?: number;
    /** From 1 on, for as long as the process lives. */
    seq?: number;
}

export interface RunningScript extends ThreadCount, MaybeReported {
    scripts: string[];
    pieceCount: number;
}

export interface TemporaryScript extends RunningScript {
    mapRespawned: boolean;
}

// ---- Script sources ----

export interface BosOptions {
    /** COB units of `[1]`, 163840 by default. */
    linearScale: number;
    /** COB units of `<1>`, 182 by default. */
    angularScale: number;
    /** Of the words the first is the default. */
    implicitReturn: "safe" | "compat" | "last-word";
    valuelessReturn: "push0" | "bare";
    argumentOrder: "vm" | "source";
}

interface CompileRequest {
    source: string;
    /** Of the source in the stack of files, for its includes; the loaded unit's when absent. */
    path?: string;
    options?: Partial<BosOptions>;
}

export type Compilation = { options: BosOptions; diagnostics: BosDiagnostic[] } & (
    | { ok: false }
    | {
          ok: true;
          cob_b64: string;
          codeWords: number;
          scripts: { name: string; entry: CodeOffset }[];
          pieces: string[];
          staticVars: number;
          lineSpans: LineSpan[];
          symbols: SourceSymbols;
          lints: Lint[];
          scriptSummary: ScriptSummary[];
      }
);

export interface SourceSymbols {
    statics: string[];
    /** The local variable i is parameter i, or behind the parameters one of the locals. */
    scripts: { name: string; parameters: string[]; locals: string[] }[];
}

export interface BosDiagnostic {
    severity: "error" | "warning";
    /** E01 to E23, W1 to W6. */
    code: string;
    message: string;
    file: string;
    /** From 1; columns in bytes. */
    line: number;
    column: number;
}

export type LintCode =
    | "missing-create" | "missing-killed" | "unused-script" | "recursive-start" | "loop-no-sleep"
    | "out-of-range-piece";

export interface Lint {
    severity: "error" | "warning";
    code: LintCode;
    message: string;
    /** -1 for the whole unit. */
    scriptIndex: number;
    scriptName: string;
}

export interface ScriptSummary {
    name: string;
    family: ScriptFamily;
    instrCount: number;
    /** Indices of scripts. */
    calls: number[];
    starts: number[];
    flags: {
        sleep: boolean;
        wait: boolean;
        signal: boolean;
        emitSfx: boolean;
        explode: boolean;
        loop: boolean;
    };
}

interface DisassembleRequest {
    /** A script file in base64; the loaded unit's when absent. */
    cob_b64?: string;
    options?: Partial<BosOptions>;
}

export interface Disassembly {
    source: string;
    /** No script holds `__words`. */
    structured: boolean;
    /** The scripts that do. */
    rawScripts: string[];
    lineSpans: LineSpan[];
    symbols: SourceSymbols;
    options: BosOptions;
}

export type UnitSourceText = {
    name: string;
    source: string;
    /** Of the scripts for which the source gives the unit's own code. */
    lineSpans?: LineSpan[];
    /** When the source has no mistakes. */
    symbols?: SourceSymbols;
    /** Of a file that is not valid UTF-8. */
    encoding?: "windows-1252";
} & ({ origin: "file"; path: string; version?: string } | { origin: "disassembly" });

export interface SourceComparison {
    name: string;
    identical: boolean;
    /** Those that fit best. */
    options: BosOptions;
    /** None when the source has mistakes. `words` and `differing` count code words. */
    scripts: { name: string; status: ScriptStatus; words: number; differing: number }[];
    scriptOrderDiffers: boolean;
    piecesDiffer: boolean;
    staticVarsDiffer: boolean;
    /** Text stands behind the code. */
    embeddedText: boolean;
    diagnostics: BosDiagnostic[];
}

export type ScriptStatus =
    | "identical" | "constants-rounded" | "constants" | "code" | "missing in source"
    | "missing in bytecode";

// ---- Models and pictures ----

/** Each 0 to 255. */
export interface TeamColor {
    r: number;
    g: number;
    b: number;
    /** True when absent. */
    enabled?: boolean;
}

export type Rgba = [r: number, g: number, b: number, a: number];

interface WeaponModelRequest {
    weapon: string;
    teamColor?: TeamColor;
}

/** A frame of so many bytes follows. */
interface Framed {
    byteSize: number;
}

/** The frame is a binary glTF 2.0 file. */
export interface UnitGlb extends Framed {
    unitName: string;
    pieceCount: number;
    textureCount: number;
}

/** The frame is a binary glTF 2.0 file. */
export interface WeaponGlb extends Framed {
    weapon: string;
    model: string;
}

/** The frame is a PNG file, its cells of `width` × `height` pixels side by side. */
export interface ProjectileSprite extends Framed {
    weapon: string;
    name: string;
    frames: number;
    width: number;
    height: number;
}

/** The frame is a WAV file. */
export interface Sound extends Framed {
    name: string;
    path: string;
}

export type BuildpicFormat = "pcx" | "gaf" | "png-triplet" | "png";

export interface Buildpic {
    name: string;
    format: BuildpicFormat;
    path: string;
    width: number;
    height: number;
    /** A PNG file in base64. */
    png_b64: string;
}

export interface BuildpicSources {
    name: string;
    /** The one that counts first. */
    sources: { format: BuildpicFormat; path: string }[];
}

/** PNG files in base64. */
export interface ButtonPictures {
    name: string;
    normal_b64: string;
    pressed_b64?: string;
    disabled_b64?: string;
}

export type UnitTexture =
    | { found: false; name: string }
    | {
          found: true;
          name: string;
          source?: Source;
          /** Of the first frame, in pixels. */
          width: number;
          height: number;
          frames: number;
          /** Pixels that take the owner's colour. */
          teamPixels: number;
          totalPixels: number;
      };

// ---- Sources and edits ----

export interface ResolvedSource {
    name: string;
    resolved: true;
    source: Source;
}

export type WritableSource =
    | { state: "ok" | "base-ta"; name: string; source: Source }
    | { state: "not-found"; name: string; error: string };

export interface RestoredSource {
    name: string;
    restoredPath: string;
    warning?: string;
    /** Why the loaded unit is not loaded any more. */
    reloadError?: string;
    /** The edits of the loaded unit's model have ended, for its model is another one now. */
    editsDropped?: true;
}

export interface RawDefinition {
    name: string;
    text: string;
    encoding: "utf-8" | "windows-1252";
    source: Source;
    /** Tells this content of the file from others. */
    version: string;
    hasBackup: boolean;
    /** The units that restoring the backup would undo; none without one. */
    backupCovers: string[];
    /** Another program has replaced the file since: the next write makes a backup of that. */
    backupIsOlder?: true;
}

interface WriteRequest extends MaybeNamed {
    /** Of fbi-raw: writes only over that content. */
    ifVersion?: string;
    /** Consent to the first write's backup; false when absent. */
    allowBackupCreation?: boolean;
}

interface SaveRequest extends WriteRequest {
    text: string;
    /** Writes nothing. */
    checkOnly?: boolean;
}

interface PatchRequest extends WriteRequest {
    /** Keys of [UNITINFO] in any case; null removes a key. */
    values: Record<string, string | number | boolean | null>;
}

export interface WriteResult {
    /** Only "ok" has written. */
    outcome: "ok" | "needs-backup-consent" | "base-ta-refused" | "changed-on-disk" | "checked";
    /** The loose file or the archive. */
    resolvedPath: string;
    /** Why the loaded unit is not loaded any more. */
    reloadError?: string;
    /** The edits of the loaded unit's model have ended, for its model is another one now. */
    editsDropped?: true;
    /** Of a request with `ifVersion` that was not refused for the base game, and of every "changed-on-disk": the file's now. */
    version?: string;
}

export interface SaveResult extends WriteResult {
    /** Of text that reads but is surely not meant, in its order; both count from 1. */
    warnings: { line: number; column: number; message: string }[];
}

export interface PatchResult extends WriteResult {
    /** Keys whose values differ from before, written or not. */
    changed: string[];
}

export interface ModFolder {
    path: string;
    /** False when it was there already, empty. */
    created: boolean;
    mounted: boolean;
    /** Of all roots together, when it was mounted. */
    unitCount?: number;
}

interface CloneRequest extends WriteRequest {
    /** The unit's own when absent: it is brought into the mod as it is. */
    newName?: string;
    modPath?: string;
    displayName?: string;
    with?: ("model" | "script" | "picture")[];
    overwrite?: boolean;
}

export interface ClonedUnit extends WriteResult {
    name: string;
    files: { from: string; to: string }[];
}

interface CorpseRequest {
    /** The loaded unit when absent. */
    parentUnit?: string;
    name?: string;
    modPath?: string;
    allowBackupCreation?: boolean;
}

export interface CorpseStub extends WriteResult {
    name: string;
    files: string[];
}

interface SaveUnitRequest extends WriteRequest {
    values?: PatchRequest["values"];
    /** In place of `values`. */
    text?: string;
    script?: { cob_b64: string } | { bos: string; options?: Partial<BosOptions> };
    /** Of any size. */
    picture?: { png_b64: string };
    /** Whether the edits of the model are saved too; true when absent. */
    model?: boolean;
    /** Of a refusal: writes the model only over that content. */
    ifModelVersion?: string;
    /** Of cob-get-unit-bos, "" without one: writes the script only over that source. */
    ifScriptVersion?: string;
    /** Whether a part may take the place of a file that has its new name already. */
    overwrite?: boolean;
}

export interface SavedUnit extends WriteResult {
    files: {
        part: "definition" | "model" | "script" | "script-source" | "picture";
        resolvedPath: string;
    }[];
    /** Of a script that was compiled. */
    diagnostics?: BosDiagnostic[];
    /** Of the model's file as it is now, when that is why the outcome is "changed-on-disk". */
    modelVersion?: string;
    /** Of the script's source as it is now, when that is why, or of the one saved with `ifScriptVersion`. */
    scriptVersion?: string;
}

// ---- Packs ----

/** What a file is to a unit: "definition", "model", "weapon-model", … as docs/protocol.md lists. */
export type DependencyRole = string;

export interface MissingDependency {
    role: DependencyRole;
    /** Of a file its path, else the name that is referred to. */
    name: string;
    usedBy: string[];
}

export interface UnitDependencies {
    units: string[];
    files: {
        path: string;
        roles: DependencyRole[];
        usedBy: string[];
        source: Source;
        size: number;
    }[];
    missing: MissingDependency[];
    damaged: { path: string; message: string }[];
    totalSize: number;
}

interface PackRequest extends MaybeLong {
    destination: string;
    overwrite?: boolean;
    compression?: "zlib" | "lz77" | "none";
}

interface ModPackRequest extends PackRequest {
    /** The first mod when absent. */
    modPath?: string;
}

interface MinModPackRequest extends PackRequest {
    units: string[];
    recursive?: boolean;
}

export interface ModPack {
    path: string;
    fileCount: number;
    /** On the disk. */
    byteSize: number;
    leftOut: { path: string; reason: string }[];
    /** Of a pack that will hide loose files of a mounted mod. */
    warning?: string;
    /** Where the pack took the place of a mounted archive: why the unit cannot be loaded again. */
    reloadError?: string;
    /** The edits of the loaded unit's model have ended, for its model is another one now. */
    editsDropped?: true;
}

export interface MinModPack extends ModPack {
    files: { path: string; roles: DependencyRole[]; usedBy: string[]; size: number }[];
    missing: MissingDependency[];
    /** Tables of the base game that the pack replaces as a whole. */
    warnings: string[];
}

interface PackToValidate extends MaybeLong {
    /** Absolute, or relative to any data root. */
    path: string;
}

export interface PackValidation {
    path: string;
    isValid: boolean;
    fileCount: number;
    unitCount: number;
    findings: {
        severity: "error" | "warning" | "info";
        code: string;
        path?: string;
        unit?: string;
        message: string;
    }[];
    units: { name: string; isReady: boolean; missing: number; warnings: number }[];
}

// ---- Texture edits ----

/** A palette index (0 to 255) that gives way to another. */
export interface IndexChange {
    from: number;
    to: number;
}

export interface RemapSuggestion {
    /** As its file spells it. */
    textureName: string;
    source: Source;
    /** Of the first frame. */
    width: number;
    height: number;
    frames: number;
    /** Of all frames, what they share once; in a preview what remains afterwards. */
    teamPixels: number;
    totalPixels: number;
    /** With the number of pixels that have `from`, and how different the colours look. */
    map: (IndexChange & { pixels: number; distance: number })[];
}

export interface RemapPreview extends RemapSuggestion {
    /** PNG files of the first frame. */
    before_b64: string;
    after_b64: string;
    changedPixels: number;
}

interface RemapRequest {
    textureName: string;
    /** Out of the team bands when absent. */
    map?: IndexChange[];
    /** A mounted mod folder, where a texture of the base game is copied to. */
    modPath?: string;
    /** Consent to the first write's backup; false when absent. */
    allowBackupCreation?: boolean;
}

export interface RemapResult extends WriteResult {
    /** Written or not. */
    changedPixels: number;
    /** Other textures of the file that show changed pixels. */
    alsoChanges: string[];
}

// ---- Diagnostics ----

interface HealthRequest extends MaybeNamed {
    /** Rows of suppressed lints too. */
    withSuppressed?: boolean;
}

export interface UnitHealth {
    unit: string;
    /** Absent when the definition has gone. */
    source?: Source;
    checks: HealthCheck[];
    /** The definition as written. */
    rawFbiKeys: { key: string; value: string }[];
    summary: { missing: number; warnings: number; ready: boolean; verdict: string };
}

export interface HealthCheck {
    category: HealthCategory;
    ref: string;
    /** "missing" keeps the unit from being ready. */
    status: "ok" | "info" | "warn" | "missing";
    detail: string;
    action?: HealthAction;
    /** A suppressed lint, which does not count; absent when false. */
    isSuppressed?: boolean;
}

export type HealthCategory =
    | "Unit identity" | "Model (3DO)" | "COB script" | "COB lint" | "Build picture" | "Weapon"
    | "Movement" | "Sound category" | "Corpse" | "Build options" | "Explosion" | "Source"
    | "Source shadow" | "Palette compliance";

/** What would mend a finding. */
export type HealthAction =
    | { kind: "create-corpse-stub"; parentUnit: string }
    | { kind: "promote-to-mod"; unitName: string }
    | { kind: "lint-suppress"; code: LintCode; target: string; unitName: string }
    | { kind: "lint-unsuppress"; code: string; target: string; unitName: string }
    | { kind: "lint-unsuppress"; code: string; target: string; scope: "global" }
    | { kind: "palette-remap"; textureName: string; unitName: string };

export interface LintRule {
    /** Needed in the scope "unit", the default. */
    unitName?: string;
    code: string;
    target?: string;
    scope?: "unit" | "global";
}

export interface ChangedLintRule {
    /** Empty where it was absent. */
    unitName: string;
    code: string;
    target: string;
    scope: "unit" | "global";
    /** The file that holds the rule; absent without data roots. */
    resolvedPath?: string;
}

export interface ConflictReport {
    findings: Conflict[];
    unitCount: number;
}

/** `files` and `unitFile` are locations, the winner first. */
export type Conflict =
    | { kind: "unit-name-collision"; severity: "warn"; detail: string; unitName: string; files: string[] }
    | { kind: "weapon-name-collision"; severity: "warn"; detail: string; asset: string; files: string[] }
    | {
          kind: "missing-3do" | "missing-cob" | "missing-weapon-ref";
          severity: "warn";
          detail: string;
          unitName: string;
          unitFile: string;
          /** A path or the name that is referred to; absent when no model is named at all. */
          asset?: string;
      }
    | {
          kind: "missing-buildpic" | "missing-corpse" | "missing-explode-as";
          severity: "info";
          detail: string;
          unitName: string;
          unitFile: string;
          asset: string;
      };

export interface ModernizerPreview {
    unitName: string;
    /** The name in lower case. */
    assetId: string;
    sourceFormat: "legacy-ta";
    mesh: {
        pieceCount: number;
        vertexCount: number;
        triangleCount: number;
        drawRangeCount: number;
        textureDrawRangeCount: number;
        colorDrawRangeCount: number;
    };
    rig: {
        pieceCount: number;
        scriptPieceCount: number;
        pieceNamesPreserved: boolean;
        supportsShowHide: boolean;
    };
    textures: {
        availableCount: number;
        referencedCount: number;
        /** Upper-cased names. */
        resolved: string[];
        missing: string[];
        compatColorSpace: "sRGB";
        nativePaletteLimited: boolean;
    };
    materials: {
        opaqueDepthQueueReady: boolean;
        transparentQueueDeclared: boolean;
        teamColorMode: "legacy-palette-mask";
        baseColorSpace: "sRGB";
        nativePaletteLimited: boolean;
    };
    sourceMap: {
        originalPaintOrderAvailable: boolean;
        piecePrimitiveRefsAvailable: boolean;
        emitted: boolean;
    };
    compileReport: {
        status: "blocked" | "warnings" | "ready-dry-run";
        dryRun: true;
        canEmitBundle: false;
        nativeBundleExportImplemented: false;
        summary: { errorCount: number; warningCount: number; infoCount: number };
        findings: {
            errors: CompileFinding<"error">[];
            warnings: CompileFinding<"warning">[];
            info: CompileFinding<"info">[];
        };
    };
    renderParity: {
        baseline: "raw-ta-game-mesh";
        usesGameMeshBuilder: boolean;
        checks: {
            unit: string;
            role: string;
            status: "manual-pending";
            mark: "current" | "recommended";
        }[];
    };
}

interface CompileFinding<Severity extends string> {
    severity: Severity;
    code: string;
    message: string;
}

// ---- Model edits ----

type Point = [x: number, y: number, z: number];

/** A name in any case, the first of that name, or an index in the order of `pieceTree`. */
export type PieceKey = string | number;

export interface FaceKey {
    piece: PieceKey;
    primIndex: number;
}

export type FaceIssue =
    | "degenerate" | "non-planar" | "concave" | "duplicate" | "overlap" | "missing-texture" | "bad-index";
export type PieceIssue =
    | "unused-vertex" | "no-selection" | "piece-name" | "unscripted-piece" | "lost-pieces";
export type UnknownIssue = "overlap";

export interface EditState {
    undoDepth: number;
    redoDepth: number;
    /** The model is not as it was saved. */
    isDirty: boolean;
}

export interface ModelSummary extends EditState {
    unitName: string;
    /** There is a step to undo or redo. */
    hasEdits: boolean;
    undoLabel?: string;
    redoLabel?: string;
    pieceCount: number;
    vertexCount: number;
    /** With selection plates; `triangleCount` and `bounds` are of what is drawn. */
    faceCount: number;
    triangleCount: number;
    textureCount: number;
    /** In the unit's space. */
    bounds: { min: Point; max: Point };
    pieces: (ModelPieceHead & { vertexCount: number; faceCount: number; issueCount: number })[];
    issues: { kind: FaceIssue | PieceIssue; count: number }[];
    /** Kinds that were not searched for in every piece. */
    unknown?: UnknownIssue[];
}

interface ModelPieceHead {
    index: number;
    name: string;
    /** Index of the piece that it hangs from; none of the root. */
    parent?: number;
    /** From the parent. */
    position: Point;
    /** Kinds that were not searched for, because it would take too long. */
    unknown?: UnknownIssue[];
}

export interface ModelPiece extends ModelPieceHead {
    vertices: Point[];
    faces: ModelFace[];
    issues: PieceIssue[];
}

export interface ModelFace {
    primIndex: number;
    indices: number[];
    texture?: string;
    /** Palette index of a face without texture. */
    color?: number;
    /** Three marks of the editor; the first one makes a twin. */
    flags: boolean[];
    isTwin: boolean;
    /** The face whose back the twin shows. */
    twinOf?: number;
    isSelection: boolean;
    /** To the side that is seen; 0 without area. */
    normal: Point;
    area: number;
    issues: FaceIssue[];
}

interface DuplicatesRequest {
    piece?: PieceKey;
    /** Model units; 0.001 when absent. */
    tolerance?: number;
}

export interface DuplicateFaces {
    groups: {
        piece: string;
        pieceIndex: number;
        kind: "same" | "opposite" | "overlap";
        faces: number[];
        /** The common part of the smaller face; 1 unless they overlap. */
        share: number;
    }[];
    faceCount: number;
    /** Indices of pieces whose overlaps were not searched for. */
    unknown?: number[];
}

interface BleedThroughRequest {
    /** "game", from above, when absent. */
    view?: "game" | "all";
    /** 16 to 4,096; 256 when absent. */
    directions?: number;
    /** "rest" when absent. */
    pose?: "rest" | "current";
}

export interface BleedThrough {
    faces: { piece: string; pieceIndex: number; primIndex: number; share: number }[];
    directions: number;
    rayCount: number;
}

export type ModelFix =
    | { kind: "add-twins" | "remove-twins" | "triangulate"; faces?: FaceKey[] }
    | { kind: "flip-faces" | "delete-faces"; faces: FaceKey[] }
    | { kind: "remove-duplicates"; faces?: FaceKey[]; tolerance?: number }
    | { kind: "remove-degenerate" | "make-selection" }
    | { kind: "turn-corners"; faces: FaceKey[]; by?: number }
    | { kind: "set-texture"; faces: FaceKey[]; texture: string }
    | { kind: "set-color"; faces: FaceKey[]; color: number }
    | { kind: "replace-texture"; from: string; to: string }
    | { kind: "remove-unused-vertices"; piece?: PieceKey }
    | { kind: "weld-vertices"; piece?: PieceKey; tolerance?: number }
    | { kind: "move-vertices"; piece: PieceKey; vertices: number[]; by: Point }
    | { kind: "scale"; factor: number; piece?: PieceKey }
    | { kind: "rename-piece"; piece: PieceKey; name: string }
    | { kind: "move-piece"; piece: PieceKey; position: Point }
    | { kind: "set-selection"; piece: PieceKey; primIndex: number };

export interface AppliedFix extends EditState {
    kind: ModelFix["kind"];
    label: string;
    /** Faces, vertices or pieces; 0 is no step. */
    changed: number;
}

export interface UndoneFix extends EditState {
    label: string;
}

interface CommitRequest {
    /** Consent to the first write's backup; false when absent. */
    allowBackupCreation?: boolean;
    /** Of a refusal: writes only over that content. */
    ifVersion?: string;
}

// ---- Maps ----
// Lengths in map pixels, x to the east, z to the south, y up; headings in radians, 0 facing +z.

export interface MapEntry {
    name: string;
    /** From here on to `planet`: empty without a description. */
    title: string;
    description: string;
    size: string;
    players: string;
    planet: string;
    /** The type of each schema by its number; empty for one that is missing. */
    schemas: string[];
    /** Without it the map cannot be loaded. */
    hasTerrain: boolean;
    hasDescription: boolean;
    /** Absent when the ground cannot be read. */
    cellsX?: number;
    cellsZ?: number;
    source: Source;
}

export interface MapRequest extends MaybeLong {
    name: string;
    /** Default: the first that there is. */
    schema?: number;
    /** Default true. */
    placeUnits?: boolean;
    /** What random numbers hang from; default 1. */
    seed?: number;
    /** That share the work of a tick, 1 to 16; nothing else depends on it. */
    threads?: number;
}

export interface LoadedMap {
    name: string;
    title: string;
    schema: number;
    schemas: string[];
    width: number;
    height: number;
    cellsX: number;
    cellsZ: number;
    cellSize: 16;
    seaLevel: number;
    minHeight: number;
    maxHeight: number;
    lavaWorld: boolean;
    /** Pixels per second squared. */
    gravity: number;
    minWind: number;
    maxWind: number;
    tidal: number;
    surfaceMetal: number;
    startPositions: { player: number; x: number; z: number }[];
    featureCount: number;
    missingFeatures: string[];
    unitCount: number;
    missingUnits: string[];
    hasMinimap: boolean;
    tick: number;
    /** Lists of which not everything was taken over. */
    cut?: { what: "schemas" | "startPositions" | "features" | "units"; given: number; kept: number }[];
}

/** A unit, else a feature. */
export interface Spawn {
    unit?: string;
    feature?: string;
    x: number;
    z: number;
    /** 1 to 10, default 1. */
    player?: number;
    heading?: number;
    /** 1 to 1,000, default 1. */
    count?: number;
    /** 0 to 1, default 1. */
    buildFraction?: number;
    /** 1 to 100 percent, default 100. */
    health?: number;
    active?: boolean;
    /** Without testing the site. */
    force?: boolean;
    /** What the new units are told to do. */
    order?: UnitOrder;
}

export type OrderKind =
    | QueuedOrder | "stop" | "activate" | "deactivate" | "moveState" | "fireState" | "damage" | "kill"
    | "finish" | "place" | "script" | "remove" | "selfDestruct" | "cloak" | "decloak";

/** Those that a unit can be at for a while. */
export type QueuedOrder =
    | "move" | "patrol" | "attack" | "fire" | "guard" | "build" | "repair" | "reclaim" | "capture"
    | "load" | "unload" | "land";

export interface UnitOrder {
    /** Default "move". */
    order?: OrderKind;
    x?: number;
    z?: number;
    /** A unit's id. */
    target?: number;
    /** A feature's id. */
    targetFeature?: number;
    /** What is to be built. */
    unit?: string;
    /** How many of them by a factory; 1 to 1,000, default 1. */
    count?: number;
    /** Also what is in none of the builder's menus; default false. */
    unrestricted?: boolean;
    /** The weapon, 0 to 2; without it all of them. */
    slot?: number;
    /** Of states 0, 1 or 2; hit points from 0; severity, 0 to 200 percent. */
    value?: number;
    /** Of "place". */
    heading?: number;
    /** "place" where it cannot stand; default false. */
    force?: boolean;
    /** Behind the orders that there are; default false. */
    queue?: boolean;
    /** Of a script. */
    name?: string;
    args?: number[];
}

export interface MoveRequest extends UnitOrder {
    unitIds?: number[];
    unitId?: number;
}

export interface OrderRefusal {
    unitId: number;
    reason: string;
}

export interface OrderAnswers {
    accepted: number[];
    refused: OrderRefusal[];
}

export interface MapTickRequest {
    /** 1 to 600, default 1. */
    ticks?: number;
    /** Default true. */
    events?: boolean;
    /** Ends them early. */
    until?: MapEvent["kind"] | "idle";
    stocks?: { player: number; metal?: number; energy?: number }[];
}

export interface Ticked {
    tick: number;
    ticksDone: number;
    /** "time": ask for the rest. */
    stopped: "ticks" | "until" | "time";
    unitCount: number;
    projectileCount: number;
    wind: number;
    /** Where it blows to. */
    windHeading: number;
    players: MapPlayer[];
    /** 16 hexadecimal digits; equal for equal worlds. */
    hash: string;
    events: MapEvent[];
    eventsDropped: number;
}

/** Incomes and drains per second; a share is the part of what was asked for that there was. */
export interface MapPlayer {
    player: number;
    metal: number;
    metalStorage: number;
    metalIncome: number;
    metalDrain: number;
    metalProduced: number;
    metalSpent: number;
    metalWasted: number;
    metalShare: number;
    energy: number;
    energyStorage: number;
    energyIncome: number;
    energyDrain: number;
    energyProduced: number;
    energySpent: number;
    energyWasted: number;
    energyShare: number;
}

interface EventBase {
    tick: number;
    unitId?: number;
}

interface EventPlace {
    x: number;
    y: number;
    z: number;
}

interface EventPiece {
    piece?: string;
    pieceIndex?: number;
}

export type SiteFault =
    | "outside the map" | "void" | "too deep" | "too shallow" | "too steep" | "no vent" | "occupied";

export type MapEvent = EventBase & (
    | { kind: "order-done"; order: QueuedOrder; reached: boolean }
    | { kind: "order-failed"; order: QueuedOrder; reason: SiteFault | "blocked" | "target gone" | "no way" | "cannot do" | "cannot reach target" | "unit limit reached" }
    | { kind: "blocked" | "built" | "stalled" }
    | { kind: "aimed"; slot: number }
    | {
        kind: "aim-failed"; slot: number;
        reason: "script returned 0" | "no script" | "out of range" | "no line";
    }
    | { kind: "fired"; slot: number; weapon: string } & EventPlace & EventPiece
    | { kind: "hit"; weapon: string; damaged: { unitId: number; damage: number }[]; moreDamaged?: number } & EventPlace
    | { kind: "killed"; severity: number; corpseType: number; corpse?: string }
    | { kind: "corpse"; featureId: number; name: string }
    | { kind: "feature-gone" | "feature-burns"; featureId: number }
    | { kind: "explode"; flags: number } & EventPiece
    | { kind: "effect"; type: number } & EventPlace & EventPiece
    | { kind: "sound"; name?: string; number?: number }
    | { kind: "script-missing"; script: string });

/** The place is that of the first unit. */
export interface SpawnedUnits {
    unitIds: number[];
    /** How many of the count found no place. */
    refused: number;
    unitName: string;
    x: number;
    y: number;
    z: number;
    /** Who does not take the order. */
    orderRefused?: OrderRefusal[];
}

export interface SpawnedFeature {
    featureId: number;
    x: number;
    y: number;
    z: number;
}

export interface SnapshotRequest {
    unitIds?: number[];
    /** Only what this player sees. */
    player?: number;
    /** Asks for `transforms`. */
    pieces?: boolean;
    /** A tick: transforms only of units whose pose changed after it. */
    since?: number;
    /** Asks for `features`. */
    features?: boolean;
}

export interface Snapshot {
    tick: number;
    units: MapUnit[];
    projectiles: MapProjectile[];
    /** With `player`: what he does not see but has on radar or sonar. */
    contacts?: MapContact[];
    /** What changed since the map was loaded. */
    features?: {
        added: MapFeature[];
        removed: number[];
        /** The ids of those that burn, when any does. */
        burning?: number[];
    };
}

export interface MapContact {
    unitId: number;
    player: number;
    x: number;
    y: number;
    z: number;
}

export interface MapUnit {
    unitId: number;
    unitName: string;
    player: number;
    x: number;
    y: number;
    z: number;
    heading: number;
    pitch: number;
    roll: number;
    /** Pixels per second. */
    speed: number;
    health: number;
    maxHealth: number;
    /** 1 is ready. */
    buildFraction: number;
    state: "nanoframe" | "idle" | "moving" | "attacking" | "building" | "reclaiming" | "capturing" | "loading"
        | "carried";
    /** Where a builder's spray comes from. */
    nano?: { x: number; y: number; z: number; piece?: string };
    /** Seconds until it destroys itself. */
    selfDestruct?: number;
    /** Seconds for which it does nothing. */
    stunned?: number;
    /** It hides; absent when it does not. */
    cloaked?: true;
    active: boolean;
    /** The current one. */
    order?: QueuedOrder;
    /** Orders behind the current one. */
    queued: number;
    weapons: {
        slot: number;
        state: "idle" | "aiming" | "aimed" | "reloading" | "firing";
        /** Seconds until it can fire again. */
        reload: number;
        /** Shots made ahead. */
        stock: number;
        /** The unit that it is aimed at. */
        target?: number;
    }[];
    transforms?: PieceTransform[];
    /** The unit that it is aboard of. */
    carrier?: number;
    /** The carrier's piece that it rides on; without it inside, out of sight. */
    carrierPiece?: string;
    /** Who is aboard. */
    cargo?: number[];
}

/** What flies: where it is, and where it is going. */
export interface MapProjectile {
    projectileId: number;
    weapon: string;
    x: number;
    y: number;
    z: number;
    heading: number;
    pitch: number;
    /** The unit that fired it, while that lives. */
    owner?: number;
}

export interface HeightmapRequest {
    /** Default "height". */
    plane?: Heightmap["plane"];
    /** Of the plane "sight": whose it is, 1 to 10, default 1. */
    player?: number;
}

export interface Heightmap {
    /** Bytes of "sight": 2 where the player sees, 1 where his radar or sonar reaches, else 0. */
    plane: "height" | "sight";
    /** In cells. */
    width: number;
    height: number;
    cellSize: 16;
    seaLevel: number;
    byteSize: number;
}

export interface Minimap {
    width: number;
    height: number;
    byteSize: number;
}

/** Id, index of the type, the middle of the footprint: x, y, z, and the heading where that is not 0. */
export type MapFeature = [number, number, number, number, number, number?];

export interface MapFeatures {
    types: FeatureType[];
    features: MapFeature[];
}

export interface FeatureType {
    name: string;
    /** False when nothing declares it; the rest are defaults then. */
    found: boolean;
    /** In cells. */
    footprintX: number;
    footprintZ: number;
    height: number;
    blocking: boolean;
    reclaimable: boolean;
    metal: number;
    energy: number;
    /** A model. */
    object?: string;
    /** An animation file, and the entry in it. */
    filename?: string;
    sequence?: string;
}

export interface TerrainRequest {
    x?: number;
    z?: number;
    /** 0, the default, reaches to the map's edge. */
    width?: number;
    height?: number;
    /** Map pixels to a side of a picture's pixel; default: as few as it takes. */
    scale?: 1 | 2 | 4 | 8 | 16 | 32;
}

export interface TerrainTexture {
    /** Where the picture begins on the map. */
    x: number;
    z: number;
    /** Of the picture. */
    width: number;
    height: number;
    scale: 1 | 2 | 4 | 8 | 16 | 32;
    byteSize: number;
}
