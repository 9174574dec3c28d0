#include "authoring/corpse_stub.h"

#include <algorithm>

#include <fmt/format.h>

#include "authoring/mod_target.h"
#include "io/ascii.h"
#include "io/files/write_plan.h"
#include "io/game_paths.h"
#include "session/model_file.h"
#include "session/references.h"
#include "session/request_error.h"

namespace orb::unitview {
namespace {

constexpr std::string_view kCorpseKey = "Corpse";
constexpr std::string_view kNameEnd = "_dead";
constexpr io::GameFiles kCorpseFiles{"features/corpses", ".tdf"};

/// A wreck stands as much as a third of what its unit did, and gives back half of its metal.
constexpr int kDamageShare = 3;
constexpr int kMetalShare = 2;
/// How far wrecks rise from the ground, in map units.
constexpr int kWreckHeight = 10;

struct Wreck {
    std::string name;
    std::string object;
    std::string side;
    std::string title;
    int footprintX = 1;
    int footprintZ = 1;
    int damage = 1;
    int metal = 0;
};

/// A section with one statement a line, as the parent's file ends its lines.
class SectionText {
public:
    SectionText(std::string_view name, std::string_view lineEnd) : lineEnd_(lineEnd) {
        text_ = fmt::format("[{}]{}\t{{{}", name, lineEnd_, lineEnd_);
    }
    template <typename Value>
    SectionText& set(std::string_view key, const Value& value) {
        text_ += fmt::format("\t{}={};{}", key, value, lineEnd_);
        return *this;
    }
    io::Bytes bytes() const {
        const std::string whole = text_ + "\t}" + std::string(lineEnd_);
        return {whole.begin(), whole.end()};
    }

private:
    std::string_view lineEnd_;
    std::string text_;
};

io::Bytes definitionOf(const Wreck& wreck, std::string_view lineEnd) {
    SectionText text("UNITINFO", lineEnd);
    text.set("UnitName", wreck.name).set("Version", 1).set("Side", wreck.side);
    text.set("ObjectName", wreck.object).set("Name", wreck.title).set("Description", "Wreckage");
    text.set("Category", "WRECK").set("IsFeature", 1).set("BMcode", 0).set("CanMove", 0);
    text.set("NoShadow", 1).set("MaxDamage", wreck.damage);
    text.set("FootprintX", wreck.footprintX).set("FootprintZ", wreck.footprintZ);
    return text.bytes();
}

io::Bytes featureOf(const Wreck& wreck, std::string_view lineEnd) {
    SectionText text(wreck.name, lineEnd);
    text.set("world", "All Worlds").set("description", wreck.title).set("category", "corpses");
    text.set("object", wreck.object);
    text.set("footprintx", wreck.footprintX).set("footprintz", wreck.footprintZ);
    text.set("height", kWreckHeight).set("blocking", 1).set("reclaimable", 1);
    text.set("metal", wreck.metal).set("damage", wreck.damage);
    return text.bytes();
}

/// A parent's definition, as bytes: what goes into the wreck's files keeps its encoding.
struct Parent {
    explicit Parent(RawDefinition raw) : definition(std::move(raw)) {
        auto read = io::readFbiUnitInfo(definitionBytes(definition));
        if (!read) throw RequestError(kNoUnitInfo);
        info = std::move(*read);
        name = info.unitName.empty() ? fileStem(definition.source.location) : info.unitName;
        if (info.objectName.empty()) throw RequestError("FBI has no objectName for unit: " + name);
    }

    bool hasCorpse() const { return !isAbsentName(info.corpse) && info.corpse != "-1"; }
    std::string_view lineEnd() const {
        return definition.text.find("\r\n") == std::string::npos ? "\n" : "\r\n";
    }

    RawDefinition definition;
    io::FbiUnitInfo info;
    std::string name;
};

std::string wreckName(const Parent& parent, const std::optional<std::string>& wanted) {
    if (wanted) return *wanted;
    if (parent.hasCorpse()) return parent.info.corpse;
    return parent.name.substr(0, kMaxUnitName - kNameEnd.size()).append(kNameEnd);
}

Wreck wreckOf(const MountedData& data, const Parent& parent, std::string name) {
    const io::FbiUnitInfo& info = parent.info;
    const bool hasModel = data.files.locate(io::kModelFiles.path(name)).has_value();
    Wreck wreck;
    wreck.object = hasModel ? name : std::string(modelFileName(data.files, info.objectName));
    wreck.name = std::move(name);
    wreck.side = info.side;
    wreck.title = (info.name.empty() ? parent.name : info.name) + " Wreckage";
    wreck.footprintX = std::max(info.footprintX, 1);
    wreck.footprintZ = std::max(info.footprintZ, 1);
    wreck.damage = std::max(info.maxDamage / kDamageShare, 1);
    wreck.metal = std::max(info.buildCostMetal / kMetalShare, 0);
    return wreck;
}

const io::VfsLayer& chooseRoot(const MountedData& data, const Parent& parent,
                               const std::optional<std::filesystem::path>& modPath) {
    if (modPath) return chooseModRoot(data, modPath);
    const io::VfsLayer& own = rootOfDefinition(data, parent.definition.source.location);
    return own.rootKind == io::DataRootKind::mod ? own : chooseModRoot(data, {});
}

/// A new file of a root.
FileWrite newFile(const MountedData& data, const io::VfsLayer& root, const std::string& path,
                  io::Bytes content) {
    if (const auto existing = findInRoot(data, root, path))
        throw RequestError("file exists: " + locationText(*existing));
    return {placeInRoot(data, root, path), std::move(content)};
}

}  // namespace

CorpseResult createCorpseStub(UnitViewSession& session, const CorpseRequest& request,
                              io::FileOps& ops) {
    const MountedData& data = session.data();
    const auto file = readDefinition(session, request.parentUnit).source.location.path;
    const io::FolderLock rootLock = lockForEdit(session, io::planPath(editRootOf(session, file)));
    const io::FolderLock lock = lockForEdit(session, file);
    const Parent parent(readDefinition(session, request.parentUnit));
    CorpseResult result{wreckName(parent, request.name), {}, {}};
    requireNewUnitName(result.name);
    if (isKnownCorpse(data, result.name)) throw RequestError("corpse exists: " + result.name);

    const bool leadsElsewhere =
        parent.hasCorpse() && (isKnownCorpse(data, parent.info.corpse) ||
                               io::equalsIgnoringCase(parent.info.corpse, result.name));
    const UnitSource& source = parent.definition.source;
    if (!leadsElsewhere && source.inBaseTa) {
        result.edit = {EditOutcome::refusedForBase, source.location.path, {}};
        return result;
    }
    const io::VfsLayer& root = chooseRoot(data, parent, request.modPath);
    const Wreck wreck = wreckOf(data, parent, result.name);
    std::vector<FileWrite> writes;
    writes.push_back(newFile(data, root, io::kUnitFiles.path(wreck.name),
                             definitionOf(wreck, parent.lineEnd())));
    writes.push_back(
        newFile(data, root, kCorpseFiles.path(wreck.name), featureOf(wreck, parent.lineEnd())));
    if (!leadsElsewhere) {
        const FbiChange change{std::string(kCorpseKey), result.name};
        const FbiEdit edit = editDefinition(parent.definition, {&change, 1});
        const auto bytes = io::encodeGameText(edit.text, parent.definition.encoding).value();
        writes.push_back({source.location, io::Bytes(bytes.begin(), bytes.end())});
    }
    for (const FileWrite& write : writes) result.files.push_back(write.target);
    result.edit = writeUnitFiles(session, writes, request.allowBackupCreation, ops);
    return result;
}

}  // namespace orb::unitview
