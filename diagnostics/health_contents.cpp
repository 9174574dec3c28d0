#include <algorithm>
#include <exception>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "diagnostics/cob_lints.h"
#include "diagnostics/health_checks.h"
#include "io/out_of_memory.h"
#include "io/text_encoding.h"
#include "model/piece_list.h"

namespace orb::unitview::health {
namespace {

/// A texture with at least so many percent of team colour is probably tinted by mistake.
constexpr std::size_t kTintedPercent = 26;
/// So many of the most frequent team colours are listed.
constexpr std::size_t kListedTeamIndices = 5;

std::vector<Lint> findLints(const Context& context) {
    // No index is beyond a model that nobody could read.
    const std::size_t pieceCount = context.options.faults.model.empty()
                                       ? flattenPieces(context.unit.model).size()
                                       : std::numeric_limits<std::size_t>::max();
    return analyseCob(*context.unit.cob, pieceCount).lints;
}

/// Whether a rule for the unit, or an empty name for all units, suppresses a lint.
bool isSuppressed(const Context& context, std::string_view unitName, const Lint& lint) {
    // Front ends know names only as the protocol spells them.
    return context.suppressions.isSuppressed(unitName, lint.code,
                                             io::replaceInvalidUtf8(lint.target));
}

HealthRow describeLint(const Context& context, const Lint& lint) {
    const auto& scripts = context.unit.cob->scripts;
    const auto index = static_cast<std::size_t>(lint.scriptIndex);
    const bool hasScript = lint.scriptIndex >= 0 && index < scripts.size();
    return {hasScript ? scripts[index].name : "(unit)",
            lint.severity == LintSeverity::info ? CheckStatus::info : CheckStatus::warn,
            fmt::format("[{} {}] {}", severityWord(lint.severity), lint.code, lint.message),
            HealthAction{.kind = HealthAction::Kind::suppressLint,
                         .unit = context.unit.name,
                         .code = lint.code,
                         .target = lint.target}};
}

/// The row of a suppressed lint offers to take the rule back.
HealthRow describeSuppressedLint(const Context& context, const Lint& lint) {
    HealthRow row = describeLint(context, lint);
    row.isSuppressed = true;
    row.action->kind = HealthAction::Kind::unsuppressLint;
    row.action->isGlobal = isSuppressed(context, "", lint);
    return row;
}

/// The most frequent team indices, as "index:countpx" each.
std::string describeTeamIndices(const Texture& texture) {
    std::vector<std::size_t> indices;
    for (const io::TeamBand& band : io::kTeamBands)
        for (std::size_t index = band.first; index <= band.last; ++index)
            if (texture.histogram[index] > 0) indices.push_back(index);
    const std::size_t listed = std::min(indices.size(), kListedTeamIndices);
    std::ranges::partial_sort(
        indices, indices.begin() + static_cast<std::ptrdiff_t>(listed), {},
        [&](std::size_t index) { return std::pair(~texture.histogram[index], index); });
    indices.resize(listed);
    std::string text;
    for (const std::size_t index : indices)
        text += fmt::format("{}{}:{}px", text.empty() ? "" : ", ", index, texture.histogram[index]);
    return text;
}

HealthRow describeTexture(const Context& context, const std::string& name, const Texture& texture) {
    const std::string size = fmt::format("{}x{}", texture.picture.width, texture.picture.height);
    const std::size_t team = texture.teamPixels();
    const std::size_t total = texture.totalPixels();
    HealthRow row{name, CheckStatus::ok, size + " — no team-band pixels"};
    if (team == 0) return row;

    const std::size_t percent = total == 0 ? 0 : team * 100 / total;
    row.detail = fmt::format(
        "{}: {}/{} px ({}%) in team band — top: {}. These pixels will recolour per player; if "
        "that's not intended, remap them in the source art to indices outside the team band "
        "(96-111, 128-143, 224-229).",
        size, team, total, percent, describeTeamIndices(texture));
    row.status = percent < kTintedPercent ? CheckStatus::info : CheckStatus::warn;
    if (row.status == CheckStatus::warn)
        row.action = HealthAction{
            .kind = HealthAction::Kind::remapPalette, .unit = context.unit.name, .texture = name};
    return row;
}

}  // namespace

void checkLints(const Context& context, Rows& rows) {
    if (!context.unit.cob || context.unit.cob->scripts.empty()) return;
    const std::string scriptCount = fmt::format("{} script(s)", context.unit.cob->scripts.size());
    try {
        const std::vector<Lint> lints = findLints(context);
        const auto isHidden = [&](const Lint& lint) {
            return isSuppressed(context, context.unit.name, lint);
        };
        if (std::ranges::all_of(lints, isHidden))
            rows.push_back({scriptCount, CheckStatus::ok, "no COB lints"});
        for (const Lint& lint : lints) {
            if (!isHidden(lint))
                rows.push_back(describeLint(context, lint));
            else if (context.options.withSuppressed)
                rows.push_back(describeSuppressedLint(context, lint));
        }
    } catch (const std::exception& error) {
        io::rethrowOutOfMemory(error);
        rows.push_back(
            {scriptCount, CheckStatus::info, "COB analysis skipped (parse/graph error)"});
    }
}

void checkPalette(const Context& context, Rows& rows) {
    if (!context.options.faults.model.empty()) return;
    const std::vector<std::string> names = textureNames(context.unit.model);
    if (names.empty()) {
        rows.push_back({context.unit.fbi.objectName, CheckStatus::info,
                        "no textures referenced by the 3DO — nothing to tint"});
        return;
    }
    const auto textures = context.data.pictures.textures.find(names);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (textures[i]) rows.push_back(describeTexture(context, names[i], *textures[i]));
}

}  // namespace orb::unitview::health
