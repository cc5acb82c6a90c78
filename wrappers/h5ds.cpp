// H5DS: dimension scales. What fails in HDF5 is told by the name of the function, not
// by the error stack. Dimensions are HDF5's: counted from 0, the slowest-varying first.
#include "convert/callbacks.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using DatasetId = Id<"dataset identifier">;
using ScaleId = Id<"dimension scale identifier">;
using Dimension = Unsigned;
using Name = Text<"dimension name">;

template <Description Function>
constexpr auto kSucceeded = [](auto status) {
  if (status < 0) raise<msg::libraryFailureH5DS>(Function.text);
  return status;
};

/// No output, and a number.
template <Description Function>
struct Done {
  template <class Call, class... Arguments>
  static void run(zbArray** /*outs*/, Call call, Arguments... arguments) {
    kSucceeded<Function>(call(arguments...));
  }
};
template <Description Function>
struct Count {
  template <class Call, class... Arguments>
  static void run(zbArray** outs, Call call, Arguments... arguments) {
    outs[0] = zbCreateDoubleScalar(kSucceeded<Function>(call(arguments...)));
  }
};

void setScale(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t scale = ScaleId::from(ins[0]);
  const bool named = zbGetNumberOfElements(ins[1]) > 0;
  std::string name = named ? Name::from(ins[1]) : "";  // 1.8 takes a char* that it only reads
  kSucceeded<"H5DSset_scale">(H5DSset_scale(scale, named ? name.data() : nullptr));
}

void iterateScales(int nOut, zbArray** outs, const zbArray** ins) {
  const hid_t dataset = DatasetId::from(ins[0]);
  const unsigned dimension = Dimension::from(ins[1]);
  const int start = OrZero<Int>::from(ins[2]);
  CallbackContext context(ins[3], ins[4]);
  int index = start;
  // HDF5 reads before the beginning of its list when told to start there.
  const herr_t status = context.succeeded<msg::iterateScalesFailure>(
      start < 0
          ? -1
          : H5DSiterate_scales(dataset, dimension, &index,
                               trappedAdapter<keepReport, IdInput, NumberInput<unsigned>, IdInput>,
                               &context));
  storeRequested(
      nOut, outs,
      {zbCreateDoubleScalar(status),
       zbCreateDoubleScalar(static_cast<double>(start + context.calls)), context.userData});
}

constexpr Row kDimensionScaleFunctions[] = {
    // name                    call                   gives       takes
    {"H5DSattach_scale",
     wrap<H5DSattach_scale, Done<"H5DSattach_scale">, DatasetId, ScaleId, Dimension>},
    {"H5DSdetach_scale",
     wrap<H5DSdetach_scale, Done<"H5DSdetach_scale">, DatasetId, ScaleId, Dimension>},
    {"H5DSget_label",
     wrap<H5DSget_label, TextBy<kSucceeded<"H5DSget_label">>, DatasetId, Dimension>},
    {"H5DSget_num_scales",
     wrap<H5DSget_num_scales, Count<"H5DSget_num_scales">, DatasetId, Dimension>},
    {"H5DSget_scale_name",
     wrap<H5DSget_scale_name, TextBy<kSucceeded<"H5DSget_scale_name">>, DatasetId>},
    {"H5DSis_scale", wrap<H5DSis_scale, Count<"H5DSis_scale">, DatasetId>},
    {"H5DSiterate_scales", rule<5, iterateScales>},
    {"H5DSset_label", wrap<H5DSset_label, Done<"H5DSset_label">, DatasetId, Dimension, Name>},
    {"H5DSset_scale", rule<2, setScale>},
};

}  // namespace

std::span<const Row> dimensionScaleFunctions() { return kDimensionScaleFunctions; }

}  // namespace h5gate
