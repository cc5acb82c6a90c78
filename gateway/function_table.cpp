#include "gateway/function_table.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "wrappers/name_list.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

// --- The function about the table itself ----------------------------------------------

void getFunctionNames(Inputs ins, Results& outs) {
  take<>(ins);
  outs.give(makeNameList(functionTable(), [](const Row& row) { return row.name; }));
}

constexpr Row kTableFunctions[] = {OWN(H5ZBget_function_names, getFunctionNames)};

// --- The table ------------------------------------------------------------------------

/// A hash of what tells names apart: the interface, "get" or "set", and the end.
std::size_t hashOf(std::string_view name) {
  std::uint64_t head = 0;
  std::uint64_t tail = 0;
  const std::size_t size = std::min(name.size(), sizeof head);
  if (size == sizeof head) {  // a copy of known size is one instruction
    std::memcpy(&head, name.data(), sizeof head);
    std::memcpy(&tail, name.data() + name.size() - sizeof tail, sizeof tail);
  } else {
    name.copy(reinterpret_cast<char*>(&head), size);
  }
  return (head ^ std::rotl(tail, 21)) * 0x9E3779B97F4A7C15U;
}

/// Built when the library is loaded, never changed. Names are listed in order and
/// looked up by hash: the look-up is a part of every call.
class FunctionTable {
 public:
  FunctionTable() {
    for (const std::span<const Row> table : {std::span<const Row>(kTableFunctions),
                                             libraryFunctions(),
                                             identifierFunctions(),
                                             filterFunctions(),
                                             constantFunctions(),
                                             fileFunctions(),
                                             dataspaceFunctions(),
                                             datasetFunctions(),
                                             datatypeFunctions(),
                                             referenceFunctions(),
                                             attributeFunctions(),
                                             groupFunctions(),
                                             linkFunctions(),
                                             objectFunctions(),
                                             errorFunctions(),
                                             propertyListFunctions(),
                                             creationPropertyFunctions(),
                                             filePropertyFunctions(),
                                             transferPropertyFunctions(),
                                             linkPropertyFunctions(),
                                             dimensionScaleFunctions()}) {
      rows_.insert(rows_.end(), table.begin(), table.end());
    }
    std::ranges::sort(rows_, {}, &Row::name);
    for (const Row& row : rows_) slots_[slotOf(row.name)] = &row;
  }

  [[nodiscard]] std::span<const Row> rows() const { return rows_; }
  [[nodiscard]] GatewayHandler find(std::string_view name) const {
    const Row* row = slots_[slotOf(name)];
    return row == nullptr ? nullptr : row->handler;
  }

 private:
  /// Slots of a power of two, at least two thirds of them empty: what has the hash of
  /// another stands in one of the next.
  static constexpr unsigned kSlotBits = 10;

  /// Where the name stands, or would stand.
  [[nodiscard]] std::size_t slotOf(std::string_view name) const {
    std::size_t slot = hashOf(name) >> (64 - kSlotBits);
    while (slots_[slot] != nullptr && slots_[slot]->name != name) slot = (slot + 1) % slots_.size();
    return slot;
  }

  std::vector<Row> rows_;
  std::array<const Row*, std::size_t{1} << kSlotBits> slots_{};
};

const FunctionTable table;

}  // namespace

GatewayHandler findHandler(std::string_view name) { return table.find(name); }

std::span<const Row> functionTable() { return table.rows(); }

}  // namespace h5gate
