// One transfer between a host array and an HDF5 buffer: sizes the buffer, owns it,
// and gives back the memory that HDF5 allocated for variable-length data in it.
#include "host/hdf5_dataset.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <optional>

#include "hdf5/handle.hpp"
#include "host/library_error.hpp"
#include "runtime/arena.hpp"
#include "runtime/array_to_buffer.hpp"
#include "runtime/bound_columns.hpp"
#include "runtime/buffer_to_array.hpp"
#include "runtime/call_scope.hpp"
#include "runtime/columns.hpp"
#include "runtime/datatype.hpp"
#include "runtime/datatype_fit.hpp"
#include "runtime/host_error.hpp"
#include "runtime/memory_block.hpp"

namespace zembra {
namespace {

/// Fastest-varying first. A space without any extent is an empty matrix.
Shape extentOf(hid_t space) {
  std::array<hsize_t, H5S_MAX_RANK> dimensions{};
  const int rank = Zembra::checked(H5Sget_simple_extent_dims(space, dimensions.data(), nullptr));
  if (rank == 0 && Zembra::checked(H5Sget_simple_extent_type(space)) == H5S_NULL) return {0, 0};
  return Shape(dimensions.rend() - rank, dimensions.rend());
}

/// HDF5's own count wraps around where the extent is larger than any memory.
std::size_t pointsOf(const Shape& extent) {
  const std::optional<std::size_t> points = countElements(extent);
  if (!points) {
    raiseHostError("tooLarge", "The memory space has more elements than memory can hold.");
  }
  return *points;
}

/// Elements that the space selects. A selection outlives the extent that it was made
/// on; one of more elements than there are would have HDF5 leave the buffer.
std::size_t selectedPoints(hid_t space, std::size_t points) {
  const auto selected = static_cast<std::size_t>(Zembra::checked(H5Sget_select_npoints(space)));
  const bool mayRepeat = points > 0 && H5Sget_select_type(space) == H5S_SEL_POINTS;
  if (selected > points && !mayRepeat) {
    raiseHostError("staleSelection", "The memory space selects " + std::to_string(selected) +
                                         " elements, but its extent has only " +
                                         std::to_string(points) + ": select anew.");
  }
  return selected;
}

/// Every element is selected. Points may repeat themselves and prove nothing.
bool coversExtent(hid_t space, std::size_t points) {
  return selectedPoints(space, points) == points && H5Sget_select_type(space) != H5S_SEL_POINTS;
}

std::string adviceFor(std::size_t selected, std::size_t points) {
  if (selected == points) return {};
  return " Of the memory space's " + std::to_string(points) + " elements " +
         std::to_string(selected) +
         " are selected, but the array must cover the whole extent; to write an array of the "
         "selection's size, pass a memory space of that size.";
}

/// HDF5 is C: what cannot be had is null there.
extern "C" void* takeMemory(std::size_t bytes, void* arena) try {
  return static_cast<Arena*>(arena)->take(bytes);
} catch (const HostError&) {
  return nullptr;
} catch (const std::bad_alloc&) {
  return nullptr;
}
/// It ends with the arena.
extern "C" void leaveMemory(void* /*memory*/, void* /*arena*/) {}

}  // namespace
}  // namespace zembra

struct HDF5Dataset::Transfer {
  Transfer(hid_t memoryType, hid_t memorySpace)
      : type(memoryType),
        space(memorySpace),
        plan(zembra::planDatatype(memoryType)),
        extent(zembra::extentOf(memorySpace)),
        points(zembra::pointsOf(extent)) {}

  ~Transfer() {
    if (!reclaimed.valid() || memory || points == 0) return;
    hdf5::closeQuietly([this] {
      const hsize_t count = points;
      const hdf5::Space all(H5Screate_simple(1, &count, nullptr));
      H5Dvlen_reclaim(reclaimed.get(), all.get(), H5P_DEFAULT, block.get());
    });
  }

  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// What to do about an array of another size.
  [[nodiscard]] std::string advice() const {
    return zembra::adviceFor(zembra::selectedPoints(space, points), points);
  }

  hid_t type;  // the caller's, who may close it before this ends
  hid_t space;
  zembra::DatatypePlan plan;
  zembra::Shape extent;
  std::size_t points;

  std::shared_ptr<void> block;            // what getBuffer() gives
  hdf5::Type reclaimed;                   // the type again, where the block points to HDF5's memory
  std::shared_ptr<zembra::Arena> memory;  // or to this
  zembra::Buffers written;                // what write() gives
  std::optional<zembra::Columns> read;    // in parts
  std::optional<zembra::BoundColumns> laid;
  bool gaps = false;  // between members
};

HDF5Dataset::HDF5Dataset(hid_t memoryType, hid_t memorySpace)
    : transfer_(std::make_unique<Transfer>(memoryType, memorySpace)) {}

HDF5Dataset::~HDF5Dataset() = default;

void* HDF5Dataset::getBuffer() {
  Transfer& transfer = *transfer_;
  if (transfer.block) return transfer.block.get();
  const bool variable = transfer.plan.variableLength;
  const bool covered = zembra::coversExtent(transfer.space, transfer.points);
  const std::size_t bytes = zembra::checkedProduct(transfer.points, transfer.plan.widest());
  std::shared_ptr<void> block = zembra::allocateBlock(bytes);
  if (variable || !covered) {
    std::memset(block.get(), 0, bytes);
  }
  if (variable) transfer.reclaimed = zembra::copyDatatype(transfer.type);
  transfer.block = std::move(block);
  return transfer.block.get();
}

void HDF5Dataset::provideMemory(hid_t transferList) {
  transfer_->memory = std::make_shared<zembra::Arena>();
  Zembra::checked(H5Pset_vlen_mem_manager(transferList, zembra::takeMemory, transfer_->memory.get(),
                                          zembra::leaveMemory, nullptr));
}

zbArray* HDF5Dataset::read(const void* buffer) {
  Transfer& transfer = *transfer_;
  zembra::Value array;
  if (buffer == transfer.block.get() && zembra::canAdopt(transfer.plan, transfer.memory)) {
    array =
        zembra::adopt(transfer.plan, std::move(transfer.block), transfer.extent, transfer.memory);
  } else {
    const zembra::Strided<const std::byte> elements(static_cast<const std::byte*>(buffer),
                                                    transfer.points, transfer.plan.size);
    array = zembra::gather(transfer.plan, elements, transfer.extent, transfer.memory);
  }
  zembra::enroll(array.get());
  return array.release();
}

bool HDF5Dataset::goesInParts() const {
  const zembra::DatatypePlan& plan = transfer_->plan;
  return plan.kind == zembra::DatatypePlan::Kind::Compound && zembra::Columns::suit(plan);
}

void HDF5Dataset::beginReading() { transfer_->read.emplace(transfer_->plan, transfer_->extent); }

void HDF5Dataset::putPart(const void* buffer, std::size_t first, std::size_t count) const {
  transfer_->read->put({static_cast<const std::byte*>(buffer), count, transfer_->plan.size}, first);
}

zbArray* HDF5Dataset::endReading() {
  zembra::Value array = transfer_->read->take();
  zembra::enroll(array.get());
  return array.release();
}

void HDF5Dataset::beginWriting(const zbArray* data) {
  const Transfer& transfer = *transfer_;
  const std::string advice = transfer.advice();
  const zembra::ValuePath path(advice);
  zembra::requireFit(transfer.plan, transfer.points, data, path);
  transfer_->laid.emplace(transfer.plan, transfer.points, data, path);
  transfer_->gaps = transfer.plan.hasGaps();
}

void HDF5Dataset::layPart(void* buffer, std::size_t first, std::size_t count) const {
  const std::size_t size = transfer_->plan.size;
  if (transfer_->gaps) std::memset(buffer, 0, count * size);
  transfer_->laid->lay({static_cast<std::byte*>(buffer), count, size}, first);
}

const void* HDF5Dataset::write(const zbArray* data) {
  Transfer& transfer = *transfer_;
  const std::string advice = transfer.advice();
  return transfer.written.layOut(transfer.plan, transfer.points, data, zembra::ValuePath(advice));
}
