#include "bos/statement_forms.h"

#include <iterator>

namespace orb::unitview::bos {
namespace {

using Kind = FormPart::Kind;

constexpr FormPart kPiece{Kind::piece};
constexpr FormPart kAxis{Kind::axis};
constexpr FormPart hiddenZero(std::uint8_t push) {
    return {Kind::hiddenZero, {}, push};
}
constexpr FormPart word(std::string_view text) {
    return {Kind::word, text};
}
constexpr FormPart option(std::string_view text) {
    return {Kind::option, text};
}
constexpr FormPart value(std::uint8_t push, ValueStyle style = ValueStyle::plain) {
    return {Kind::value, {}, push, style};
}
constexpr ValueStyle kLinear = ValueStyle::linear;
constexpr ValueStyle kAngular = ValueStyle::angular;

// Values are numbered in the order in which the code pushes them: a speed comes before the target.
// clang-format off
constexpr StatementForm kForms[] = {
    {Op::move,          "move",            {kPiece, word("to"), kAxis, value(1, kLinear), word("speed"), value(0, kLinear)}},
    {Op::moveNow,       "move",            {kPiece, word("to"), kAxis, value(0, kLinear), word("now")}},
    {Op::turn,          "turn",            {kPiece, word("to"), kAxis, value(1, kAngular), word("speed"), value(0, kAngular)}},
    {Op::turnNow,       "turn",            {kPiece, word("to"), kAxis, value(0, kAngular), word("now")}},
    {Op::spin,          "spin",            {kPiece, word("around"), kAxis, word("speed"), value(1, kAngular), option("accelerate"), value(0, kAngular)}},
    {Op::stopSpin,      "stop-spin",       {kPiece, word("around"), kAxis, option("decelerate"), value(0, kAngular)}},
    {Op::waitTurn,      "wait-for-turn",   {kPiece, word("around"), kAxis}},
    {Op::waitMove,      "wait-for-move",   {kPiece, word("along"), kAxis}},
    {Op::show,          "show",            {kPiece}},
    {Op::hide,          "hide",            {kPiece}},
    {Op::cache,         "cache",           {kPiece}},
    {Op::dontCache,     "dont-cache",      {kPiece}},
    {Op::shade,         "shade",           {kPiece}},
    {Op::dontShade,     "dont-shade",      {kPiece}},
    {Op::emitSfx,       "emit-sfx",        {value(0), word("from"), kPiece}},
    {Op::explode,       "explode",         {kPiece, word("type"), value(0, ValueStyle::explosion)}},
    {Op::sleep,         "sleep",           {value(0)}},
    {Op::signal,        "signal",          {value(0)}},
    {Op::setSignalMask, "set-signal-mask", {value(0)}},
    {Op::attachUnit,    "attach-unit",     {value(0), word("to"), value(1), hiddenZero(2)}},
    {Op::dropUnit,      "drop-unit",       {value(0)}},
    {Op::set,           "set",             {value(0, ValueStyle::unitValue), word("to"), value(1)}},
    {Op::playSound,     "play-sound",      {value(0)}},
};
// clang-format on

constexpr std::array<const StatementForm*, kOpCount> indexForms() {
    std::array<const StatementForm*, kOpCount> index{};
    for (const StatementForm& form : kForms) index[static_cast<std::size_t>(form.op)] = &form;
    return index;
}
constexpr auto kFormByOp = indexForms();

}  // namespace

std::span<const StatementForm> statementForms() {
    return kForms;
}

const StatementForm* formOf(Op op) {
    return kFormByOp.at(static_cast<std::size_t>(op));
}

}  // namespace orb::unitview::bos
