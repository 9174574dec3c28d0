#pragma once

#include <span>

#include "bos/token.h"

namespace orb::unitview::bos {

/// Whether the expression of an #if, its macros expanded and `defined` replaced, is not 0.
/// Arithmetic is that of 64-bit integers that wrap; an unknown name is 0. Reports what is wrong
/// with it at `at` or at the token in question, and is false then.
bool evaluateCondition(std::span<const Token> expression, const SourcePosition& at,
                       DiagnosticList& diagnostics);

}  // namespace orb::unitview::bos
