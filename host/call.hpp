// Calls between host and extension, both ways.
#pragma once

#include "host/array.hpp"

extern "C" {

/// What the host calls: the extension's one exported symbol.
using zbExtensionFunction = void(int nOut, zbArray** outs, int nIn, const zbArray** ins);
void zebFunction(int nOut, zbArray** outs, int nIn, const zbArray** ins);

/// Calls a host function by name: "feval" calls the handle ins[0] with the rest;
/// "getReport" gives the text of the exception object ins[0] ("basic": one line).
/// Results replace what stands in outs[0 .. nOut-1]. A slot that the function does
/// not fill keeps what the caller put there; a null one becomes an empty double
/// array. 0 on success; a host function that throws gives nonzero, raises nothing
/// and fills nothing.
int zebCallZembra(int nOut, zbArray** outs, int nIn, zbArray** ins, const char* function);

/// The same, but a throw comes back as the host's exception object; null on success.
zbArray* zebCallZembraWithTrap(int nOut, zbArray** outs, int nIn, zbArray** ins,
                               const char* function);

}  // extern "C"
