// H5DS: dimension scales. What fails in HDF5 is told by the name of the function, not
// by the error stack. Dimensions are HDF5's: counted from 0, the slowest-varying first.
#include <optional>
#include <string>
#include <tuple>

#include "hdf5/scale_shields.hpp"
#include "wrappers/iteration.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using DatasetId = Id<"dataset identifier">;
using ScaleId = Id<"dimension scale identifier">;
using Axis = Unsigned;
using Name = Text<"dimension name">;

/// What fails is told by the name of the function.
template <Description Function>
struct NamesFailures {
  template <class Answer>
  static Answer check(Answer answer) {
    if (answer < 0) raise<msg::libraryFailureH5DS>(Function.text);
    return answer;
  }
};
template <Description Function, class Form>
struct NamedIfFailed : Form {
  using Rule = NamesFailures<Function>;
};
#define SCALE(Name, Function, Gives, ...) \
  CALL(Name, hdf5::Function, NamedIfFailed<#Name, Gives>, __VA_ARGS__)

/// An empty array stands for no name, which HDF5 says with a null pointer.
struct NameOrNone {
  struct Taken {
    std::optional<std::string> name;
    /// 1.8 takes a char* that it only reads.
    [[nodiscard]] auto arguments() { return std::tuple(name ? name->data() : nullptr); }
  };
  static Taken from(const zbArray* array) {
    if (zbGetNumberOfElements(array) == 0) return {};
    return {Name::from(array)};
  }
};

// --- Iteration ------------------------------------------------------------------------

constexpr auto callHost = trappedAdapter<keepReport, IdInput, NumberInput<unsigned>, IdInput>;

/// HDF5 reads before the beginning of its list when told to start there. Scripts get the
/// position behind the scale that they have seen last.
herr_t iterateScales(hid_t dataset, unsigned dimension, int* index, decltype(callHost) visit,
                     void* data) {
  const int start = *index;
  const herr_t status =
      start < 0 ? -1 : hdf5::iterateScales(dataset, dimension, index, visit, data);
  *index = start + static_cast<int>(static_cast<const CallbackContext*>(data)->calls);
  return status;
}

using Start = InOut<OrZero<Int>>;

constexpr Row kDimensionScaleFunctions[] = {
    // clang-format off
    //    name                calls              gives         takes
    SCALE(H5DSattach_scale,   attachScale,       Nothing,      DatasetId, ScaleId, Axis),
    SCALE(H5DSdetach_scale,   detachScale,       Nothing,      DatasetId, ScaleId, Axis),
    SCALE(H5DSget_label,      getDimensionLabel, BufferedText, DatasetId, Axis, Buffer),
    SCALE(H5DSget_num_scales, countScales,       Number,       DatasetId, Axis),
    SCALE(H5DSget_scale_name, getScaleName,      BufferedText, DatasetId, Buffer),
    SCALE(H5DSis_scale,       isScale,           Number,       DatasetId),
    SCALE(H5DSset_label,      setDimensionLabel, Nothing,      DatasetId, Axis, Name),
    SCALE(H5DSset_scale,      setScale,          Nothing,      ScaleId, NameOrNone),

    //   name                calls          gives
    //                       takes
    CALL(H5DSiterate_scales, iterateScales, WalkedOr<msg::iterateScalesFailure>,
                             DatasetId, Axis, Start, FunctionAndData<callHost>),
};
// clang-format on
#undef SCALE

}  // namespace

std::span<const Row> dimensionScaleFunctions() { return kDimensionScaleFunctions; }

}  // namespace h5gate
