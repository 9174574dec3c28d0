#pragma once

#include <cstddef>
#include <optional>

#include "io/formats/model3do.h"

/// Models as values: copied, compared, measured.
namespace orb::unitview {

io::Model3doObject copyModel(const io::Model3doObject& root);

/// True when every field of every piece is the same.
bool isSameModel(const io::Model3doObject& a, const io::Model3doObject& b);

/// The memory that a model takes, in bytes.
std::size_t memoryOf(const io::Model3doObject& root);

/// True when the file of this model stays within what `io::parse3do` accepts of one file.
bool fitsIntoFile(const io::Model3doObject& root);

/// True when the model's file has pieces that the model lacks.
bool lacksPieces(const io::Model3doObject& root);

/// The nearest number that the file can hold (multiples of 1/65,536 below 32,768 either way), or
/// none. Never -0.
std::optional<double> onFileGrid(double coordinate);

}  // namespace orb::unitview
