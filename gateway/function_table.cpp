#include "gateway/function_table.hpp"

#include <algorithm>
#include <unordered_map>
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
    for (const Row& row : rows_) handlers_.emplace(row.name, row.handler);
  }

  [[nodiscard]] std::span<const Row> rows() const { return rows_; }
  [[nodiscard]] GatewayHandler find(std::string_view name) const {
    const auto found = handlers_.find(name);
    return found == handlers_.end() ? nullptr : found->second;
  }

 private:
  std::vector<Row> rows_;
  std::unordered_map<std::string_view, GatewayHandler> handlers_;
};

const FunctionTable table;

}  // namespace

GatewayHandler findHandler(std::string_view name) { return table.find(name); }

std::span<const Row> functionTable() { return table.rows(); }

}  // namespace h5gate
