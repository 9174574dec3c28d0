#include "samples/builder/script_assembler.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <fmt/format.h>

#include "cob/opcodes.h"
#include "io/ascii.h"

namespace orb::samples {
namespace {

using unitview::Op;
using unitview::Operand;

constexpr double kLinearUnits = 65536;           // COB units a model unit
constexpr double kAngularUnits = 65536.0 / 360;  // COB units a degree
constexpr double kMaxWord = 2147483647;

const unitview::OpcodeRow* findMnemonic(std::string_view word) {
    static const auto mnemonics = [] {
        std::map<std::string, const unitview::OpcodeRow*, std::less<>> byName;
        for (const auto& row : unitview::opcodeTable().subspan(1)) {
            std::string name = io::lowerCased(row.name);
            std::replace_if(
                name.begin(), name.end(), [](char c) { return c == '_' || c == ' '; }, '-');
            byName[name] = &row;
        }
        return byName;
    }();
    const auto found = mnemonics.find(word);
    return found == mnemonics.end() ? nullptr : found->second;
}

/// The position of `name` in a list of names, or -1.
int indexOf(const std::vector<std::string>& names, std::string_view name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

class Assembler {
public:
    explicit Assembler(SourceText& source) : source_(source) {}

    io::CobFile run();

private:
    /// A word of code that stands for a name which may come later.
    struct Reference {
        std::size_t position;
        std::string name;
        std::size_t line;
    };

    void readLine();
    void beginScript();
    void declare(std::vector<std::string>& names, bool asLocals);
    void instruction(const unitview::OpcodeRow& row, std::size_t& word);
    void operand(Operand kind, const std::string& text);
    void value(const std::string& text);
    void store(const std::string& name);
    void push(Op op, std::int64_t operandValue) {
        emit(op);
        cob_.code.push_back(static_cast<std::uint32_t>(operandValue));
    }
    void emit(Op op) { cob_.code.push_back(unitview::opcodeRow(op).value); }
    bool number(const std::string& text, std::int64_t& result) const;
    void resolveLabels();
    void resolveScripts();

    SourceText& source_;
    io::CobFile cob_;
    std::vector<std::string> statics_;
    std::vector<std::string> locals_;
    std::map<std::string, std::uint32_t> labels_;
    std::vector<Reference> labelReferences_;
    std::vector<Reference> scriptReferences_;
};

io::CobFile Assembler::run() {
    while (source_.next()) readLine();
    resolveLabels();
    resolveScripts();
    cob_.staticVarCount = static_cast<std::uint32_t>(statics_.size());
    return std::move(cob_);
}

void Assembler::readLine() {
    const std::string& first = source_.words()[0];
    if (first == "piece") return declare(cob_.pieces, false);
    if (first == "static") return declare(statics_, false);
    if (first == "script") return beginScript();
    if (cob_.scripts.empty()) source_.fail("expected piece, static or script");
    if (first == "local") return declare(locals_, true);
    if (first.back() == ':') {
        const auto here = static_cast<std::uint32_t>(cob_.code.size());
        if (!labels_.emplace(first.substr(0, first.size() - 1), here).second)
            source_.fail(fmt::format("label '{}' is there already", first));
        return;
    }
    for (std::size_t word = 0; word < source_.words().size();) {
        const std::string& text = source_.words()[word++];
        if (text[0] == '=') {
            store(text.substr(1));
        } else if (const auto* row = findMnemonic(text)) {
            instruction(*row, word);
        } else {
            value(text);
        }
    }
}

void Assembler::beginScript() {
    resolveLabels();
    const std::string& name = source_.word(1, "the script's name");
    cob_.scripts.push_back({name, static_cast<std::uint32_t>(cob_.code.size())});
    locals_.clear();
    for (std::size_t i = 2; i < source_.words().size(); ++i) {
        locals_.push_back(source_.words()[i]);
        emit(Op::createLocal);
    }
}

void Assembler::declare(std::vector<std::string>& names, bool asLocals) {
    for (std::size_t i = 1; i < source_.words().size(); ++i) {
        if (indexOf(names, source_.words()[i]) >= 0)
            source_.fail(fmt::format("'{}' is declared already", source_.words()[i]));
        names.push_back(source_.words()[i]);
        if (asLocals) emit(Op::createLocal);
    }
}

void Assembler::instruction(const unitview::OpcodeRow& row, std::size_t& word) {
    cob_.code.push_back(row.value);
    for (std::size_t i = 0; i < row.operandCount(); ++i)
        operand(row.operands[i], source_.word(word++, fmt::format("an operand of {}", row.name)));
}

void Assembler::operand(Operand kind, const std::string& text) {
    std::int64_t plain = -1;
    if (kind == Operand::target) {
        labelReferences_.push_back({cob_.code.size(), text, source_.line()});
        plain = 0;
    } else if (kind == Operand::script && !number(text, plain)) {
        scriptReferences_.push_back({cob_.code.size(), text, source_.line()});
        plain = 0;
    } else if (kind == Operand::piece) {
        plain = indexOf(cob_.pieces, text);
    } else if (kind == Operand::axis) {
        plain = text.size() == 1 ? text[0] - 'x' : -1;
        if (plain < 0 || plain > 2) source_.fail(fmt::format("'{}' is no axis", text));
    }
    if (plain < 0 && !number(text, plain))
        source_.fail(kind == Operand::piece ? fmt::format("unknown piece '{}'", text)
                                            : fmt::format("'{}' is no number", text));
    cob_.code.push_back(static_cast<std::uint32_t>(plain));
}

void Assembler::value(const std::string& text) {
    std::int64_t constant = 0;
    if (number(text, constant)) return push(Op::pushConst, constant);
    if (const int i = indexOf(locals_, text); i >= 0) return push(Op::pushLocal, i);
    if (const int i = indexOf(statics_, text); i >= 0) return push(Op::pushStatic, i);
    if (const int i = indexOf(cob_.pieces, text); i >= 0) return push(Op::pushConst, i);
    for (const auto& unitValue : unitview::unitValueNames())
        if (unitValue.name == text) return push(Op::pushConst, unitValue.id);
    source_.fail(fmt::format("unknown word '{}'", text));
}

void Assembler::store(const std::string& name) {
    if (const int i = indexOf(locals_, name); i >= 0) return push(Op::popLocal, i);
    if (const int i = indexOf(statics_, name); i >= 0) return push(Op::popStatic, i);
    source_.fail(fmt::format("unknown variable '{}'", name));
}

bool Assembler::number(const std::string& text, std::int64_t& result) const {
    std::string_view digits = text;
    double scale = 1;
    if (digits.ends_with("deg")) {
        digits.remove_suffix(3);
        scale = kAngularUnits;
    } else if (digits.ends_with('m')) {
        digits.remove_suffix(1);
        scale = kLinearUnits;
    }
    double parsed = 0;
    if (!parseNumber(digits, parsed)) return false;
    if (std::abs(parsed * scale) > kMaxWord) source_.fail(fmt::format("'{}' is too large", text));
    result = std::llround(parsed * scale);
    return true;
}

void Assembler::resolveLabels() {
    for (const Reference& reference : labelReferences_) {
        const auto label = labels_.find(reference.name);
        if (label == labels_.end())
            source_.fail(fmt::format("unknown label '{}'", reference.name), reference.line);
        cob_.code[reference.position] = label->second;
    }
    labelReferences_.clear();
    labels_.clear();
}

void Assembler::resolveScripts() {
    for (const Reference& reference : scriptReferences_) {
        const int script = cob_.findScript(reference.name);
        if (script < 0)
            source_.fail(fmt::format("unknown script '{}'", reference.name), reference.line);
        cob_.code[reference.position] = static_cast<std::uint32_t>(script);
    }
}

}  // namespace

io::CobFile assembleScript(SourceText& source) {
    return Assembler(source).run();
}

}  // namespace orb::samples
