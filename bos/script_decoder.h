#pragma once

#include <cstdint>
#include <vector>

#include "bos/invented_names.h"
#include "bos/options.h"
#include "bos/script_words.h"
#include "bos/syntax_tree.h"

namespace orb::unitview::bos {

/// What the scripts of a file are decoded with.
struct DecodingContext {
    const io::CobFile& cob;
    const BosOptions& options;
    const InventedNames& names;
    /// Names by index, in quotes where they must be.
    std::vector<Name> pieces;
    std::vector<Name> scripts;
    /// Whether the name at an index means this index, which a second one of a name does not.
    std::vector<bool> isPieceFound;
    std::vector<bool> isScriptFound;
    Program& program;
};

/// Turns the words of one script back into statements.
class ScriptDecoder {
public:
    ScriptDecoder(DecodingContext& context, const ScriptRange& range, std::string_view name);

    /// Fills in parameters, body and trailing text. False when the code has no structure that the
    /// language could express; the script then is to be written as it is.
    bool decode(Script& script);

    /// Every instruction as a statement of raw words.
    std::vector<Statement> rawStatements() const;

    /// Whether the body holds raw words in places.
    bool holdsRawWords() const { return holdsRawWords_; }
    /// Whether it holds a return that leaves a fresh local and no value.
    bool holdsBareReturn() const { return holdsBareReturn_; }

private:
    /// A value on the stack: the code that leaves it there.
    struct Value {
        std::uint32_t from = 0;
        std::uint32_t to = 0;
        Op op = Op::unknown;  ///< the last instruction of it
        int nesting = 0;      ///< parentheses that it needs inside each other, at most
    };
    /// A list of statements in the making.
    struct OpenBlock {
        std::vector<Statement>& statements;
        std::uint32_t limit;
        int nesting;
        std::vector<std::uint32_t> starts = {};  ///< of each statement
        std::vector<int> depths = {};            ///< how deep each nests
        std::vector<Value> stack = {};
        std::uint32_t start = 0;  ///< of the current statement
        bool needsRaw = false;    ///< the current statement names something that does not exist
    };

    void scan();
    void noteTarget(std::uint32_t pc, const OpcodeRow& row);
    std::uint32_t parameters(Script& script);
    int statements(std::uint32_t from, std::uint32_t limit, int nesting,
                   std::vector<Statement>& result);
    std::uint32_t instruction(OpenBlock& open, std::uint32_t pc);
    void pushValue(OpenBlock& open, std::uint32_t pc, const OpcodeRow& row);
    std::uint32_t branch(OpenBlock& open, std::uint32_t pc);
    void endlessLoop(OpenBlock& open, std::uint32_t target);
    void statement(OpenBlock& open, std::uint32_t pc, const OpcodeRow& row);
    bool describe(Statement& statement, const OpenBlock& open, std::uint32_t pc);
    bool describeForm(Statement& statement, const OpenBlock& open, std::uint32_t pc);
    bool describeStart(Statement& statement, const OpenBlock& open, std::uint32_t pc);
    bool describeAssignment(Statement& statement, const OpenBlock& open, std::uint32_t pc);
    std::uint32_t createLocal(OpenBlock& open, std::uint32_t pc);
    void addRaw(OpenBlock& open, std::uint32_t from, std::uint32_t to);
    void add(OpenBlock& open, Statement statement, int depth = 0);
    Expression expression(const Value& value);
    Statement begin(Statement::Kind kind) const;

    std::uint32_t wordAt(std::uint32_t pc) const { return context_.cob.code[pc]; }
    Op opAt(std::uint32_t pc) const { return opOf(wordAt(pc)); }
    bool isStart(std::uint32_t pc) const {
        return pc >= range_.from && pc <= end_ && marks_[pc - range_.from].isStart;
    }

    /// What is known of a word.
    struct Mark {
        bool isStart = false;      ///< of an instruction, or the end of the code
        bool isTarget = false;     ///< of a jump
        std::uint32_t branch = 0;  ///< the last branch that leads here, plus one
    };

    DecodingContext& context_;
    ScriptRange range_;
    std::string_view name_;
    std::uint32_t end_;  ///< of the instructions
    std::vector<Mark> marks_;
    std::vector<std::string_view> locals_;
    bool holdsRawWords_ = false;
    bool holdsBareReturn_ = false;
};

}  // namespace orb::unitview::bos
