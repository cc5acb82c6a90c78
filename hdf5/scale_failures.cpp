#include "hdf5/scale_failures.hpp"

#include <algorithm>

#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

constexpr char kScales[] = "DIMENSION_LIST";
constexpr char kUnknown[] = "HDF5 gives no reason";

bool isDataset(hid_t id) { return H5Iget_type(id) == H5I_DATASET; }

bool hasScales(hid_t dataset) { return H5Aexists(dataset, kScales) > 0; }

unsigned rankOf(hid_t dataset) {
  const Space space(H5Dget_space(dataset));
  return static_cast<unsigned>(std::max(H5Sget_simple_extent_ndims(space.get()), 0));
}

/// Scales are attached to a scalar as if it had one dimension.
bool hasDimension(hid_t dataset, unsigned dimension) {
  return dimension < std::max(rankOf(dataset), 1U);
}

constexpr char kNoDimension[] = "the dataset has no such dimension";

bool sameObject(hid_t one, hid_t other) {
  ObjectInfo first{};
  ObjectInfo second{};
  return getObjectInfo(one, &first) >= 0 && getObjectInfo(other, &second) >= 0 &&
         first.fileno == second.fileno && first.addr == second.addr;
}

}  // namespace

LastFailure::LastFailure() { H5Eset_auto2(H5E_DEFAULT, keep, this); }

LastFailure::~LastFailure() {
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  if (stack_ >= 0) closeQuietly([this] { H5Eclose_stack(stack_); });
}

herr_t LastFailure::keep(hid_t /*stack*/, void* self) {
  auto& failure = *static_cast<LastFailure*>(self);
  if (failure.stack_ >= 0) H5Eclose_stack(failure.stack_);
  failure.stack_ = H5Eget_current_stack();
  return 0;
}

bool LastFailure::restore() {
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  if (stack_ < 0) return false;
  H5Eset_current_stack(stack_);  // which closes it
  stack_ = -1;
  return true;
}

const char* wrongWithScaled(hid_t dataset) {
  return isDataset(dataset) ? kUnknown : "not a dataset identifier";
}

const char* wrongWithDimension(hid_t dataset, unsigned dimension) {
  if (!isDataset(dataset)) return wrongWithScaled(dataset);
  return dimension < rankOf(dataset) ? kUnknown : kNoDimension;
}

const char* wrongWithNewScale(hid_t dataset) {
  if (!isDataset(dataset)) return wrongWithScaled(dataset);
  if (hasScales(dataset)) return "a dataset that has scales cannot become one";
  if (H5DSis_scale(dataset) > 0) return "the dataset is a scale already";
  return kUnknown;
}

const char* wrongWithNameOf(hid_t scale) {
  if (!isDataset(scale)) return wrongWithScaled(scale);
  return H5DSis_scale(scale) > 0 ? kUnknown : "not a dimension scale";
}

const char* wrongWithAttaching(hid_t dataset, hid_t scale, unsigned dimension) {
  if (!isDataset(dataset)) return wrongWithScaled(dataset);
  if (!isDataset(scale)) return "the scale is not a dataset identifier";
  if (sameObject(dataset, scale)) return "a dataset cannot be its own scale";
  if (H5DSis_scale(dataset) > 0) return "a dimension scale cannot have scales";
  if (hasScales(scale)) return "a dataset that has scales cannot be one";
  return hasDimension(dataset, dimension) ? kUnknown : kNoDimension;
}

const char* wrongWithDetaching(hid_t dataset, hid_t scale, unsigned dimension) {
  if (!isDataset(dataset)) return wrongWithScaled(dataset);
  if (!isDataset(scale)) return "the scale is not a dataset identifier";
  if (H5DSis_scale(scale) <= 0) return "what is to be detached is not a dimension scale";
  if (!hasDimension(dataset, dimension)) return kNoDimension;
  return H5DSis_attached(dataset, scale, dimension) > 0
             ? kUnknown
             : "the scale is not attached to the dimension";
}

}  // namespace hdf5
