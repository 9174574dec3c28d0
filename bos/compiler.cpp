#include "bos/compiler.h"

#include "bos/parser.h"

namespace orb::unitview::bos {

BosCompilation compileBos(std::string_view source, const std::string& path,
                          const io::AbstractVirtualFileSystem* files,
                          const BosOptionChoices& choices) {
    BosCompilation result;
    result.options = choices.orElse(readSettings(source).orElse(BosOptions{}));
    DiagnosticList diagnostics;
    const Program program = parseBos(source, path, files, diagnostics);
    try {
        // Names are looked up also when the text has mistakes, so that all show at once.
        result.code = generateCode(program, result.options, diagnostics);
    } catch (const TooManyErrors&) {
        // They are in the list.
    }
    result.ok = !diagnostics.hasErrors();
    if (result.ok) {
        result.symbols = symbolsOf(program);
        result.files = diagnostics.files();
    } else {
        result.code = {};
    }
    result.diagnostics = diagnostics.inSourceOrder();
    return result;
}

}  // namespace orb::unitview::bos
