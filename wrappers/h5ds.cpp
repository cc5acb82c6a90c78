// H5DS: dimension scales. What fails in HDF5 is told by the name of the function, beside
// the error stack. Dimensions are HDF5's: counted from 0, the slowest-varying first.
#include <optional>
#include <string>
#include <tuple>

#include "hdf5/scale_failures.hpp"
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
    if (answer < 0) raiseFailed<msg::libraryFailureH5DS>(Function.text);
    return answer;
  }
};
template <Description Function, class Form>
struct NamedIfFailed : Form {
  using Rule = NamesFailures<Function>;
};

/// A function that tells why it failed: HDF5 does, or `Wrong`; and that is not called where
/// attributes are not `Sound`.
template <Description Name, auto Function, auto Sound, auto Wrong>
struct Explained {
  template <class... Arguments>
  auto operator()(Arguments... arguments) const {
    return hdf5::callScales<Function>(Name.text, Sound, Wrong, arguments...);
  }
};
#define SCALE(Name, Function, Sound, Wrong, Gives, ...)                           \
  CALL(Name, (Explained<#Name, Function, hdf5::Sound, hdf5::wrongWith##Wrong>{}), \
       NamedIfFailed<#Name, Gives>, __VA_ARGS__)

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
      start < 0 ? hdf5::refuse("H5DSiterate_scales", "the position is negative")
                : hdf5::callScales<H5DSiterate_scales>("H5DSiterate_scales", hdf5::hasSoundScales,
                                                       hdf5::wrongWithDimension, dataset, dimension,
                                                       index, visit, data);
  *index = start + static_cast<int>(static_cast<const CallbackContext*>(data)->calls);
  return status;
}

using Start = InOut<OrZero<Int>>;

constexpr Row kDimensionScaleFunctions[] = {
    // clang-format off
    //    name               calls                    attributes        wrong
    //    gives              takes
    SCALE(H5DSattach_scale,  H5DSattach_scale,        areSound,         Attaching,
          Nothing,           DatasetId, ScaleId, Axis),
    SCALE(H5DSdetach_scale,  H5DSdetach_scale,        areSound,         Detaching,
          Nothing,           DatasetId, ScaleId, Axis),
    SCALE(H5DSget_label,     hdf5::getDimensionLabel, hasSoundLabels,   Dimension,
          BufferedText,      DatasetId, Axis, Buffer),
    SCALE(H5DSget_num_scales, H5DSget_num_scales,     hasSoundScales,   Dimension,
          Number,            DatasetId, Axis),
    SCALE(H5DSget_scale_name, H5DSget_scale_name,     isSoundlyNamed,   NameOf,
          BufferedText,      DatasetId, Buffer),
    SCALE(H5DSis_scale,      hdf5::isScale,           anySound,         Scaled,
          Number,            DatasetId),
    SCALE(H5DSset_label,     H5DSset_label,           hasSoundLabels,   Dimension,
          Nothing,           DatasetId, Axis, Name),
    SCALE(H5DSset_scale,     H5DSset_scale,           isSoundScale,     NewScale,
          Nothing,           ScaleId, NameOrNone),

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
