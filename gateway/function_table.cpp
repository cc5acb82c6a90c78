#include "gateway/function_table.hpp"

#include <algorithm>
#include <vector>

#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

std::vector<Row> collect() {
  std::vector<Row> rows;
  for (const std::span<const Row> table :
       {gatewayFunctions(), libraryFunctions(), fileFunctions(), dataspaceFunctions(),
        datasetFunctions(), datatypeFunctions(), referenceFunctions(), attributeFunctions(),
        groupFunctions(), linkFunctions(), objectFunctions(), errorFunctions(),
        propertyListFunctions(), creationPropertyFunctions(), filePropertyFunctions(),
        otherPropertyFunctions(), dimensionScaleFunctions()}) {
    rows.insert(rows.end(), table.begin(), table.end());
  }
  std::sort(rows.begin(), rows.end(),
            [](const Row& left, const Row& right) { return left.name < right.name; });
  return rows;
}

const std::vector<Row>& rows() {
  static const std::vector<Row> table = collect();
  return table;
}

}  // namespace

GatewayHandler findHandler(std::string_view name) {
  const auto& table = rows();
  const auto found =
      std::lower_bound(table.begin(), table.end(), name,
                       [](const Row& row, std::string_view key) { return row.name < key; });
  return found != table.end() && found->name == name ? found->handler : nullptr;
}

std::span<const Row> functionTable() { return rows(); }

}  // namespace h5gate
