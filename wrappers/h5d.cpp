// H5D: datasets.
#include <string>

#include "wrappers/bounds.hpp"
#include "wrappers/data_transfer.hpp"
#include "wrappers/memory_datatype.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using DatasetId = Id<"dataset identifier">;
using LocationId = Id<"location identifier">;
using Name = Text<"dataset name">;
using TypeOf = TypeId<"datatype identifier">;
using SpaceOf = Id<"dataspace identifier">;
using CreationList = ObjectList<"dataset creation property list">;
using AccessList = ObjectList<"dataset access property list">;
using LinkList = ObjectList<"link creation property list">;
using TransferList = ListId<"transfer property list identifier">;

// --- Extents ------------------------------------------------------------------

/// Extents that a script leaves off keep their size: nothing is cut away because a
/// vector is short. Without any extent HDF5 itself refuses the call.
template <herr_t (*SetExtent)(hid_t, const hsize_t*)>
void setExtent(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t dataset = DatasetId::from(ins[0]);
  const Dims given = getExtentArg(ins[1]);
  Dims extent(H5S_MAX_RANK);
  const hdf5::Space space(H5Dget_space(dataset));
  if (space.valid()) H5Sget_simple_extent_dims(space.get(), extent.data(), nullptr);
  for (std::size_t i = 0; i < given.size() && i < extent.size(); ++i) extent[i] = given[i];
  checked(SetExtent(dataset, given.empty() ? nullptr : extent.data()));
}

// --- Filling a host buffer --------------------------------------------------------

/// "[ 3 4 ]"
template <class Value>
std::string listOf(const Value* values, std::size_t count) {
  std::string text = "[ ";
  for (std::size_t i = 0; i < count; ++i) text += std::to_string(values[i]) + " ";
  return text + "]";
}

/// The buffer must hold the dataspace: HDF5 lists the slowest dimension first, the
/// host the fastest.
void checkFillBuffer(hid_t space, const zbArray* buffer) {
  const int ndims = H5Sget_simple_extent_ndims(space);
  if (ndims < 0) raise<msg::failureToRetrieveDataspaceNdims>();
  const auto rank = static_cast<std::size_t>(ndims);
  Dims extent(rank);
  if (H5Sget_simple_extent_dims(space, extent.data(), nullptr) < 0) {
    raise<msg::failureToRetrieveDataspace>();
  }
  const std::size_t bufferRank = zbGetNumberOfDimensions(buffer);
  const std::size_t* shape = zbGetDimensions(buffer);
  if (rank < 2) {
    if (bufferRank != 2) raise<msg::dataBufferRankNotTwo>();
    const auto elements = static_cast<std::int64_t>(zbGetNumberOfElements(buffer));
    // A scalar space has no extent to compare with: it is one element.
    const auto points = static_cast<std::int64_t>(rank == 0 ? 1 : extent[0]);
    if (elements > points) {
      raise<msg::wrongNumberOfElementsForOneDimensionalDataspace>(elements, points);
    }
    return;
  }
  if (bufferRank != rank) {
    raise<msg::inconsistentRanks>(ndims, static_cast<std::int64_t>(bufferRank));
  }
  for (std::size_t i = 0; i < rank; ++i) {
    if (extent[i] > shape[rank - 1 - i]) {
      raise<msg::inconsistentExtent>(listOf(extent.data(), rank), listOf(shape, bufferRank));
    }
  }
}

/// HDF5 fills by the datatype that it is given, whatever the array behind the pointer
/// is: it must hold that many elements, and no bytes of it may be taken for pointers.
void requireElements(const zbArray* array, hssize_t elements, hid_t type, const char* tooShort) {
  const std::size_t size = H5Tget_size(type);
  const std::size_t bytes = zbGetNumberOfElements(array) * zbGetElementSize(array);
  if (size == 0) raiseRefusal("H5Dfill", "not a datatype");  // which HDF5 takes for success
  if (elements > 0 && bytes / size < static_cast<std::size_t>(elements)) {
    raiseRefusal("H5Dfill", tooShort);
  }
  if (holdsPointers(type)) raiseRefusal("H5Dfill", "an array cannot hold variable-length data");
}

void fill(zbArray** outs, const zbArray** ins) {
  const zbArray* value = ins[0];
  const hid_t valueType = Id<"fill type identifier">::from(ins[1]);
  const hid_t bufferType = Id<"fill buffer type identifier">::from(ins[3]);
  const hid_t space = Id<"fill dataspace identifier">::from(ins[4]);
  zbArray* filled = zbDuplicateArray(ins[2]);
  checkFillBuffer(space, ins[2]);
  // An empty fill value has no data: HDF5 fills with zeros then.
  requireElements(value, zbGetNumberOfElements(value) == 0 ? 0 : 1, valueType,
                  "the fill value has fewer bytes than its datatype");
  requireElements(filled, H5Sget_simple_extent_npoints(space), bufferType,
                  "the buffer has fewer bytes than the dataspace needs in its datatype");
  if (!selectionFits(space)) raiseRefusal("H5Dfill", "the selection leaves the extent");
  checked(H5Dfill(zbGetData(value), valueType, zbGetWritableData(filled), bufferType, space));
  outs[0] = filled;
}

// --- Reading and writing ------------------------------------------------------------

/// The spaces of a transfer are its own, never H5S_ALL: without a memory space the
/// shape and the selection of the file's are taken.
class TransferSpaces {
 public:
  TransferSpaces(const char* function, hid_t dataset, hid_t givenMemory, hid_t givenFile)
      : file(checked(givenFile == H5S_ALL ? H5Dget_space(dataset) : H5Scopy(givenFile))),
        memory(checked(H5Scopy(givenMemory == H5S_ALL ? file.get() : givenMemory))) {
    if (!selectionFits(file.get())) raiseRefusal(function, "the file selection leaves the extent");
    if (!selectionFits(memory.get())) {
      raiseRefusal(function, "the memory selection leaves the extent");
    }
    raised = raisedPoints(memory.get(), file.get());
  }
  /// The memory space that HDF5 gets; the host's array has the shape of `memory`.
  [[nodiscard]] hid_t transferred() const { return raised.valid() ? raised.get() : memory.get(); }

  hdf5::Space file;
  hdf5::Space memory;

 private:
  hdf5::Space raised;
};

hssize_t pointsOf(hid_t dataset) {
  const hdf5::Space space(checked(H5Dget_space(dataset)));
  return H5Sget_simple_extent_npoints(space.get());
}

extern "C" void* allocateVariableLength(size_t size, void* /*info*/) { return zbMalloc(size); }
extern "C" void freeVariableLength(void* memory, void* /*info*/) { zbFree(memory); }

/// A list of the transfer's own that has variable-length data allocated by the host.
/// The copy of a class, which a script may name instead of a list, is a class: what
/// closes either is a reference count.
using OwnTransferList = hdf5::Handle<H5Idec_ref>;
OwnTransferList readingList(hid_t given) {
  OwnTransferList list(
      checked(given == H5P_DEFAULT ? H5Pcreate(H5P_DATASET_XFER) : H5Pcopy(given)));
  checked(H5Pset_vlen_mem_manager(list.get(), allocateVariableLength, nullptr, freeVariableLength,
                                  nullptr));
  return list;
}

void read(zbArray** outs, const zbArray** ins) {
  const hid_t dataset = DatasetId::from(ins[0]);
  const MemoryDatatype type = chooseMemoryDatatype(dataset, H5Dget_type, ins[1], nullptr);
  const hid_t memorySpace = getMemorySpaceArg(ins[2]);
  const hid_t fileSpace = getFileSpaceArg(ins[3]);
  const hid_t givenList = TransferList::from(ins[4]);
  const hssize_t points = pointsOf(dataset);
  const TransferSpaces spaces("H5Dread", dataset, memorySpace, fileSpace);
  const OwnTransferList list = readingList(givenList);
  outs[0] = readData(type.get(), spaces.memory.get(), points, [&](void* buffer) {
    return H5Dread(dataset, type.get(), spaces.transferred(), spaces.file.get(), list.get(),
                   buffer);
  });
}

void write(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t dataset = DatasetId::from(ins[0]);
  const hid_t memorySpace = getMemorySpaceArg(ins[2]);
  const hid_t fileSpace = getFileSpaceArg(ins[3]);
  const hid_t list = TransferList::from(ins[4]);
  const zbArray* data = ins[5];
  const MemoryDatatype type = chooseMemoryDatatype(dataset, H5Dget_type, ins[1], data);
  const TransferSpaces spaces("H5Dwrite", dataset, memorySpace, fileSpace);
  writeData<msg::nullDatasetDataspace>(
      type.get(), spaces.memory.get(), data, [&](const void* buffer) {
        return H5Dwrite(dataset, type.get(), spaces.transferred(), spaces.file.get(), list, buffer);
      });
}

constexpr Row kDatasetFunctions[] = {
    // name                    call                  gives       takes
    {"H5Dclose", wrap<H5Dclose, Nothing, DatasetId>},
    {"H5Dcreate",
     byCount<Form<H5Dcreate1, Identifier, LocationId, Name, TypeOf, SpaceOf, CreationList>,
             Form<H5Dcreate2, Identifier, LocationId, Name, TypeOf, SpaceOf, LinkList, CreationList,
                  AccessList>>},
    {"H5Dextend", rule<2, setExtent<H5Dextend>>},
    {"H5Dfill", rule<5, fill>},
    {"H5Dget_access_plist", wrap<H5Dget_access_plist, Identifier, DatasetId>},
    {"H5Dget_create_plist", wrap<H5Dget_create_plist, Identifier, DatasetId>},
    {"H5Dget_offset", wrap<H5Dget_offset, Address, DatasetId>},
    {"H5Dget_space", wrap<H5Dget_space, Identifier, DatasetId>},
    {"H5Dget_space_status",
     wrap<H5Dget_space_status, Outputs<AsNumber<H5D_space_status_t>>, DatasetId>},
    {"H5Dget_storage_size", wrap<H5Dget_storage_size, RawSize, DatasetId>},
    {"H5Dget_type", wrap<H5Dget_type, Identifier, DatasetId>},
    {"H5Dopen", byCount<Form<H5Dopen1, Identifier, LocationId, Name>,
                        Form<H5Dopen2, Identifier, LocationId, Name, AccessList>>},
    {"H5Dread", rule<5, read>},
    {"H5Dset_extent", rule<2, setExtent<H5Dset_extent>>},
    {"H5Dvlen_get_buf_size", wrap<H5Dvlen_get_buf_size, Outputs<AsSize<hsize_t>>, DatasetId,
                                  Id<"datatype identifier">, SpaceOf>},
    {"H5Dwrite", rule<6, write>},
};

}  // namespace

std::span<const Row> datasetFunctions() { return kDatasetFunctions; }

}  // namespace h5gate
