// What a handler is, and the table that names them.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "gateway/failure.hpp"
#include "host/array.hpp"

namespace h5gate {

/// Handlers see their own arguments from index 0; the function's name is not among
/// them. They store results in outs[0], outs[1], ... whatever nOut says, unless
/// their rules make an output depend on it; the host offers enough slots.
using GatewayHandler = void (*)(int nOut, zbArray** outs, int nIn, const zbArray** ins);

struct Row {
  std::string_view name;
  GatewayHandler handler;
};

inline void requireArgCount(bool accepted) {
  if (!accepted) raise<Zembra::fmtio::validate::wrongNumberOfInputs>();
}

}  // namespace h5gate
