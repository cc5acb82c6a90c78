// H5D: datasets.
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "chunks/chunked_transfer.hpp"
#include "hdf5/closing.hpp"
#include "hdf5/dataset_shields.hpp"
#include "hdf5/disk_room.hpp"
#include "hdf5/nested_data.hpp"
#include "hdf5/shields.hpp"
#include "hdf5/type_shields.hpp"
#include "wrappers/data_transfer.hpp"
#include "wrappers/dataset_parts.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"
#include "wrappers/transfer_datatype.hpp"

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

// --- Creating -------------------------------------------------------------------------

template <auto Create>
constexpr auto shielded =
    hdf5::OfStorableType<hdf5::OfUnlockedType<hdf5::OfDiskRoom<Create>::create>::create>::create;
constexpr auto create1 = shielded<H5Dcreate1>;
constexpr auto create2 = shielded<H5Dcreate2>;

// --- Extents --------------------------------------------------------------------------

/// A dataset and its new extent: two inputs, the second the data of any array read as
/// doubles. Extents that a script leaves off keep their size: nothing is cut away because
/// a vector is short. Without any extent HDF5 itself refuses the call.
struct DatasetAndExtent {
  static constexpr std::size_t inputs = 2;
  struct Taken {
    hid_t dataset;
    std::optional<PaddedSizes> extent;
    [[nodiscard]] auto arguments() const {
      return std::tuple(dataset, extent ? extent->data() : nullptr);
    }
  };
  static Taken from(Inputs ins) {
    const hid_t dataset = DatasetId::from(ins[0]);
    const PaddedSizes given = getExtentArg(ins[1]);
    if (given.empty()) return {dataset, std::nullopt};
    PaddedSizes extent(H5S_MAX_RANK);
    const hdf5::Space space(H5Dget_space(dataset));
    if (space.valid()) H5Sget_simple_extent_dims(space.get(), extent.data(), nullptr);
    for (std::size_t i = 0; i < given.size() && i < extent.size(); ++i) extent[i] = given[i];
    return {dataset, std::move(extent)};
  }
};

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
  if (ndims < 0) raiseFailed<msg::failureToRetrieveDataspaceNdims>();
  const auto rank = static_cast<std::size_t>(ndims);
  PaddedSizes extent(rank);
  if (H5Sget_simple_extent_dims(space, extent.data(), nullptr) < 0) {
    raiseFailed<msg::failureToRetrieveDataspace>();
  }
  const std::size_t bufferRank = zbGetNumberOfDimensions(buffer);
  const std::size_t* shape = zbGetDimensions(buffer);
  if (rank < 2) {
    if (bufferRank != 2) raiseAbout<msg::dataBufferRankNotTwo>(buffer);
    const auto elements = static_cast<std::int64_t>(zbGetNumberOfElements(buffer));
    // A scalar space has no extent to compare with: it is one element.
    const auto points = static_cast<std::int64_t>(rank == 0 ? 1 : extent[0]);
    if (elements > points) {
      raiseAbout<msg::wrongNumberOfElementsForOneDimensionalDataspace>(buffer, elements, points);
    }
    return;
  }
  if (bufferRank != rank) {
    raiseAbout<msg::inconsistentRanks>(buffer, ndims, static_cast<std::int64_t>(bufferRank));
  }
  for (std::size_t i = 0; i < rank; ++i) {
    if (extent[i] > shape[rank - 1 - i]) {
      raiseAbout<msg::inconsistentExtent>(buffer, listOf(extent.data(), rank),
                                          listOf(shape, bufferRank));
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
  if (hdf5::holdsPointers(type)) {
    raiseRefusal("H5Dfill", "an array cannot hold variable-length data");
  }
}

void fill(Inputs ins, Results& outs) {
  const auto [value, valueType, buffer, bufferType, space] =
      take<Any, Id<"fill type identifier">, Any, Id<"fill buffer type identifier">,
           Id<"fill dataspace identifier">>(ins);
  zbArray* filled = zbDuplicateArray(buffer);
  checkFillBuffer(space, buffer);
  // An empty fill value has no data: HDF5 fills with zeros then.
  requireElements(value, zbGetNumberOfElements(value) == 0 ? 0 : 1, valueType,
                  "the fill value has fewer bytes than its datatype");
  requireElements(filled, H5Sget_simple_extent_npoints(space), bufferType,
                  "the buffer has fewer bytes than the dataspace needs in its datatype");
  // Of an extent that was given up, as many elements are still selected as there were.
  if (H5Sget_select_npoints(space) > H5Sget_simple_extent_npoints(space)) {
    raiseRefusal("H5Dfill", "more is selected than the extent has");
  }
  if (!hdf5::selectionFits(space)) raiseRefusal("H5Dfill", "the selection leaves the extent");
  checked(H5Dfill(zbGetData(value), valueType, zbGetWritableData(filled), bufferType, space));
  outs.give(filled);
}

// --- Reading and writing ------------------------------------------------------------

/// The spaces of a transfer are its own, never H5S_ALL: without a memory space the
/// shape and the selection of the file's are taken.
class TransferSpaces {
 public:
  TransferSpaces(const char* function, hid_t dataset, hid_t givenMemory, hid_t givenFile)
      : file(checked(givenFile == H5S_ALL ? H5Dget_space(dataset) : H5Scopy(givenFile))),
        memory(checked(H5Scopy(givenMemory == H5S_ALL ? file.get() : givenMemory))) {
    for (const hdf5::Space* space : {&file, &memory}) {
      if (hdf5::leaveAllInPlace(space->get()) < 0) KVH5libraryError();
    }
    if (!hdf5::selectionFits(file.get())) {
      raiseRefusal(function, "the file selection leaves the extent");
    }
    if (givenFile != H5S_ALL) {
      const char* reason = hdf5::whyNotSelected(dataset, file.get());
      if (reason != nullptr) raiseRefusal(function, reason);
    }
    if (!hdf5::selectionFits(memory.get())) {
      raiseRefusal(function, "the memory selection leaves the extent");
    }
    std::optional<hdf5::Space> points = hdf5::pointsInRankOf(file.get(), memory.get());
    if (!points) KVH5libraryError();
    points_ = std::move(*points);
  }
  /// The memory space that HDF5 gets; the host's array has the shape of `memory`.
  [[nodiscard]] hid_t transferred() const { return points_.valid() ? points_.get() : memory.get(); }

  hdf5::Space file;
  hdf5::Space memory;

 private:
  hdf5::Space points_;
};

hssize_t pointsOf(hid_t dataset) {
  const hdf5::Space space(checked(H5Dget_space(dataset)));
  return H5Sget_simple_extent_npoints(space.get());
}

/// The list of a read: the given one, or for variable-length data one of its own that has
/// their memory provided by the host. For other data HDF5 would allocate that list's
/// properties for nothing, and where one such allocation fails, it reads no more in this
/// process. The copy of a class, which a script may name instead of a list, is a class: what
/// closes either is a reference count.
class ReadingList {
 public:
  ReadingList(hid_t given, hid_t memoryType, HDF5Dataset& host) : list_(given) {
    if (!hdf5::holdsPointers(memoryType)) return;
    own_ = Own(checked(given == H5P_DEFAULT ? H5Pcreate(H5P_DATASET_XFER) : H5Pcopy(given)));
    list_ = own_.get();
    host.provideMemory(list_);
  }
  [[nodiscard]] hid_t get() const { return list_; }
  /// Closes the list of its own; HDF5's errors stay.
  void close() {
    const hdf5::KeepErrorStack keep;
    own_.close();
  }

 private:
  using Own = hdf5::Handle<H5Idec_ref>;
  hid_t list_;
  Own own_;
};

/// What may go in parts.
bool isWholeTable(hid_t memoryType, hid_t memorySpace, hid_t fileSpace) {
  return memorySpace == H5S_ALL && fileSpace == H5S_ALL && H5Tget_class(memoryType) == H5T_COMPOUND;
}

/// Where a read comes from and the memory datatype that it is given or that suits it:
/// two inputs.
struct ReadFrom {
  static constexpr std::size_t inputs = 2;
  hid_t dataset;
  MemoryDatatype type;
  static ReadFrom from(Inputs ins) {
    const hid_t dataset = DatasetId::from(ins[0]);
    return {dataset, chooseMemoryDatatype(dataset, H5Dget_type, ins[1], nullptr)};
  }
};

void read(Inputs ins, Results& outs) {
  const auto [from, memorySpace, fileSpace, givenList] =
      take<ReadFrom, MemorySpaceId, FileSpaceId, TransferList>(ins);
  const hssize_t points = pointsOf(from.dataset);
  const TransferSpaces spaces("H5Dread", from.dataset, memorySpace, fileSpace);
  const hid_t type = from.type.get();
  const auto transfer = [&, dataset = from.dataset, given = givenList](void* buffer,
                                                                       HDF5Dataset& host) {
    ReadingList list(given, type, host);
    const herr_t status = chunks::read(
        {dataset, type, spaces.transferred(), spaces.file.get(), list.get(), given}, buffer);
    if (status < 0) list.close();
    return status;
  };
  if (isWholeTable(type, memorySpace, fileSpace)) {
    const DatasetParts parts(
        {from.dataset, type, spaces.transferred(), spaces.file.get(), givenList, givenList});
    if (parts.possible()) {
      HDF5Dataset host(type, spaces.memory.get());
      if (host.goesInParts()) return outs.give(parts.read(host));
    }
  }
  outs.give(readData(type, spaces.memory.get(), points, transfer));
}

/// False where the data have to go at once.
bool writeInParts(const chunks::Transfer& transfer, hid_t memorySpace, const zbArray* data) {
  const DatasetParts parts(transfer);
  if (!parts.possibleToWrite()) return false;
  HDF5Dataset host(transfer.memoryType, memorySpace);
  if (!host.goesInParts()) return false;
  host.beginWriting(data);
  const auto writeParts = [&](const void* /*all*/) {
    return hdf5::writeWhereItFits(transfer.dataset, transfer.fileSpace,
                                  [&] { return parts.write(host); });
  };
  checked(hdf5::writeNested(transfer.dataset, transfer.memoryType, transfer.memorySpace, nullptr,
                            writeParts));
  return true;
}

void write(Inputs ins, Results& /*outs*/) {
  const auto [dataset, memoryType, memorySpace, fileSpace, list, data] =
      take<DatasetId, Any, MemorySpaceId, FileSpaceId, TransferList, Any>(ins);
  const MemoryDatatype type = chooseMemoryDatatype(dataset, H5Dget_type, memoryType, data);
  const TransferSpaces spaces("H5Dwrite", dataset, memorySpace, fileSpace);
  const chunks::Transfer transfer{dataset,           type.get(), spaces.transferred(),
                                  spaces.file.get(), list,       list};
  if (isWholeTable(type.get(), memorySpace, fileSpace) &&
      writeInParts(transfer, spaces.memory.get(), data)) {
    return;
  }
  const auto writeBytes = [&transfer](const void* bytes) {
    return hdf5::writeWhereItFits(transfer.dataset, transfer.fileSpace,
                                  [&] { return chunks::write(transfer, bytes); });
  };
  const auto writeBuffer = [&](const void* buffer) {
    return hdf5::writeNested(transfer.dataset, transfer.memoryType, transfer.memorySpace, buffer,
                             writeBytes);
  };
  writeData<msg::nullDatasetDataspace>(type.get(), spaces.memory.get(), data, writeBuffer);
}

constexpr Row kDatasetFunctions[] = {
    // clang-format off
    //  name                  gives                         takes
    CALL(H5Dclose, hdf5::closeObject<H5Dclose>, Nothing,    DatasetId),
    BY_COUNT(H5Dcreate,
        Form<create1,         Identifier,                   LocationId, Name, TypeOf, SpaceOf,
                                                            CreationList>,
        Form<create2,         Identifier,                   LocationId, Name, TypeOf, SpaceOf,
                                                            LinkList, CreationList, AccessList>),
    CALL(H5Dextend,           hdf5::extend, Nothing,        DatasetAndExtent),
    OWN(H5Dfill,              fill),
    ROW(H5Dget_access_plist,  Identifier,                   DatasetId),
    ROW(H5Dget_create_plist,  Identifier,                   DatasetId),
    ROW(H5Dget_offset,        Unless<HADDR_UNDEF, Number>,  DatasetId),
    ROW(H5Dget_space,         Identifier,                   DatasetId),
    ROW(H5Dget_space_status,  Outputs<H5D_space_status_t>,  DatasetId),
    ROW(H5Dget_storage_size,  Unchecked<Number>,            DatasetId),
    ROW(H5Dget_type,          Identifier,                   DatasetId),
    BY_COUNT(H5Dopen,
        Form<H5Dopen1,        Identifier,                   LocationId, Name>,
        Form<H5Dopen2,        Identifier,                   LocationId, Name, AccessList>),
    OWN(H5Dread,              read),
    CALL(H5Dset_extent,       hdf5::setExtent, Nothing,     DatasetAndExtent),
    CALL(H5Dvlen_get_buf_size, hdf5::variableLengthSize, Outputs<hsize_t>,
                                                            DatasetId, Id<"datatype identifier">,
                                                            SpaceOf),
    OWN(H5Dwrite,             write),
};  // clang-format on

}  // namespace

std::span<const Row> datasetFunctions() { return kDatasetFunctions; }

}  // namespace h5gate
