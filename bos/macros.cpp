#include "bos/macros.h"

namespace orb::unitview::bos {

void MacroTable::define(std::string_view name, std::vector<Token> body) {
    macros_[std::string(name)].body = std::move(body);
}

void MacroTable::undefine(std::string_view name) {
    if (const auto found = macros_.find(name); found != macros_.end()) macros_.erase(found);
}

void MacroTable::expand(const Token& token, std::vector<Token>& result) {
    Macro* const outermost = find(token);
    if (!outermost) {
        result.push_back(token);
        return;
    }
    std::vector<Frame> frames;
    const auto enter = [&](Macro& macro) {
        macro.isActive = true;
        frames.push_back({&macro, 0});
    };
    enter(*outermost);
    while (!frames.empty()) {
        Frame& frame = frames.back();
        if (frame.next == frame.macro->body.size() || !spend(token)) {
            frame.macro->isActive = false;
            frames.pop_back();
            continue;
        }
        const Token& inner = frame.macro->body[frame.next++];
        if (Macro* const macro = find(inner)) {
            enter(*macro);
        } else {
            result.push_back(inner);
            result.back().at = token.at;
        }
    }
}

MacroTable::Macro* MacroTable::find(const Token& token) {
    if (token.kind != TokenKind::name || macros_.empty()) return nullptr;
    const auto found = macros_.find(token.text);
    return found == macros_.end() || found->second.isActive ? nullptr : &found->second;
}

bool MacroTable::spend(const Token& token) {
    if (work_ > kMaxExpansionWork) return false;
    if (++work_ <= kMaxExpansionWork) return true;
    diagnostics_.report<Problem::expansionTooLong>(token.at);
    return false;
}

}  // namespace orb::unitview::bos
