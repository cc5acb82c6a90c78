// Data for a memory datatype that is given by its name.
#pragma once

#include "runtime/array.hpp"

namespace zembra::python {

/// The numbers in the class that the named datatype calls for, where they are of another
/// one and every one of them survives; none where they stay as they are.
Value inClassOf(const zbArray* typeName, const zbArray* numbers);

}  // namespace zembra::python
