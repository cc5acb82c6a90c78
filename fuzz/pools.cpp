#include "fuzz/pools.hpp"

#include <algorithm>

#include "runtime/host_error.hpp"

namespace fuzz {
namespace {

constexpr std::size_t kMost = 48;  // of each kind: the oldest makes room

template <class Item>
void keep(std::vector<Item>& items, Item item) {
  if (items.size() >= kMost) items.erase(items.begin() + static_cast<std::ptrdiff_t>(kMost / 2));
  items.push_back(std::move(item));
}

std::size_t kindOf(double id) {
  constexpr double kEnd = 16.0 * (1 << 24);
  return id >= 1 << 24 && id < kEnd ? static_cast<std::size_t>(id) >> 24 : 0;
}

std::string classNameOf(double list) {
  try {
    const Value listClass = call("H5Pget_class", {zembra::makeDouble(list)}).at(0);
    std::string name = textOf(call("H5Pget_class_name", {listClass}).at(0));
    call("H5Pclose_class", {listClass}, 0);
    return name;
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace

void Pools::addIdentifier(double id) {
  const std::size_t kind = kindOf(id);
  if (kind == 0) return;
  keep(open_[kind], id);
  if (kind == static_cast<std::size_t>(ObjectKind::List)) listClasses_[id] = classNameOf(id);
}

void Pools::retire(double id) {
  if (std::erase(open_[kindOf(id)], id) > 0) keep(closed_, id);
}

void Pools::addData(const Value& value) { keep(data_, value); }
void Pools::addReference(const Value& value) { keep(references_, value); }

double Pools::open(Choices& choices, Kinds kinds) const {
  std::size_t count = 0;
  for (std::size_t kind = 0; kind < kKinds; ++kind)
    count += kinds.has(kind) ? open_[kind].size() : 0;
  if (count == 0) return 0;
  std::size_t index = choices.below(count);
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    if (!kinds.has(kind)) continue;
    if (index < open_[kind].size()) return open_[kind][index];
    index -= open_[kind].size();
  }
  return 0;
}

double Pools::list(Choices& choices, const std::string& listClass) const {
  std::vector<double> suitable;
  for (const double id : open_[static_cast<std::size_t>(ObjectKind::List)]) {
    if (const auto found = listClasses_.find(id);
        found != listClasses_.end() && found->second == listClass) {
      suitable.push_back(id);
    }
  }
  return suitable.empty() ? open(choices, ObjectKind::List) : choices.any(suitable);
}

double Pools::closed(Choices& choices) const { return closed_.empty() ? -1 : choices.any(closed_); }

Value Pools::data(Choices& choices) const {
  return data_.empty() ? zembra::makeDouble(1) : choices.any(data_);
}

Value Pools::reference(Choices& choices) const {
  return references_.empty() ? zembra::makeDouble(0) : choices.any(references_);
}

}  // namespace fuzz
