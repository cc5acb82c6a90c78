#include "hdf5/nested_data.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>

#include "hdf5/allocated_text.hpp"
#include "hdf5/array_conversion.hpp"
#include "hdf5/disk_room.hpp"
#include "hdf5/handle.hpp"
#include "hdf5/shields.hpp"
#include "hdf5/type_shields.hpp"

namespace hdf5 {
namespace {

/// What writing data of a memory datatype as a file datatype takes.
struct Needs {
  bool arrays = false;      // an ArrayConversion
  bool erasing = false;     // null data first, so that no sequence becomes shorter
  bool partial = false;     // some members are not written
  bool impossible = false;  // and some of those are in a sequence
};

enum class Within { Nothing, Array, Sequence };

bool isSequence(hid_t type) {
  return H5Tget_class(type) == H5T_VLEN || H5Tis_variable_str(type) > 0;
}

void look(hid_t file, hid_t memory, Within within, Needs& needs);

void lookAtMembers(hid_t file, hid_t memory, Within within, Needs& needs) {
  const int members = H5Tget_nmembers(file);
  for (int i = 0; i < members; ++i) {
    const auto index = static_cast<unsigned>(i);
    const AllocatedText name(H5Tget_member_name(file, index));
    const int there = name ? H5Tget_member_index(memory, name.get()) : -1;
    if (there < 0) {
      needs.partial = true;
      needs.arrays |= within == Within::Array;
      needs.impossible |= within == Within::Sequence;
    } else {
      look(Type(H5Tget_member_type(file, index)).get(),
           Type(H5Tget_member_type(memory, static_cast<unsigned>(there))).get(), within, needs);
    }
  }
}

void look(hid_t file, hid_t memory, Within within, Needs& needs) {
  const H5T_class_t typeClass = H5Tget_class(file);
  if (typeClass != H5Tget_class(memory)) return;  // which HDF5 refuses
  if (typeClass == H5T_COMPOUND) return lookAtMembers(file, memory, within, needs);
  if (typeClass != H5T_ARRAY && typeClass != H5T_VLEN) return;

  const Type fileBase(H5Tget_super(file));
  const Type memoryBase(H5Tget_super(memory));
  const bool pointers = holdsPointers(fileBase.get());
  if (typeClass == H5T_ARRAY) {
    needs.arrays |= pointers;
    if (within == Within::Nothing) within = Within::Array;
  } else {
    needs.erasing |= pointers && !isSequence(fileBase.get());
    within = Within::Sequence;
  }
  look(fileBase.get(), memoryBase.get(), within, needs);
}

bool mayNest(hid_t type) {
  const H5T_class_t typeClass = H5Tget_class(type);
  return typeClass == H5T_COMPOUND || typeClass == H5T_ARRAY || typeClass == H5T_VLEN;
}

struct FreeMemory {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): untouched pages of zeros cost nothing
  void operator()(std::byte* memory) const { std::free(memory); }
};
using Bytes = std::unique_ptr<std::byte, FreeMemory>;

Bytes zeroed(std::size_t count, std::size_t size) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
  return Bytes(static_cast<std::byte*>(std::calloc(count, size)));
}

std::size_t pointsOf(hid_t space) {
  const hssize_t points = H5Sget_simple_extent_npoints(space);
  return points < 0 ? 0 : static_cast<std::size_t>(points);
}

herr_t refuseMemory(const char* function) {
  return refuse(function, "memory allocation failed for data to be converted");
}

/// Of variable-length data zeros are null ones.
herr_t erase(hid_t memoryType, hid_t memorySpace, const WriteBytes& write) {
  const Bytes nothing =
      zeroed(std::max<std::size_t>(pointsOf(memorySpace), 1), H5Tget_size(memoryType));
  if (!nothing) return refuseMemory("H5Dwrite");
  return write(nothing.get());
}

/// The data with the members that are not written as the attribute has them.
herr_t writeSomeMembers(hid_t attribute, hid_t memoryType, const void* data) {
  Type fileType(H5Aget_type(attribute));
  Space space(H5Aget_space(attribute));
  const std::size_t count = pointsOf(space.get());
  const std::size_t fileSize = H5Tget_size(fileType.get());
  const std::size_t memorySize = H5Tget_size(memoryType);
  const Bytes before = zeroed(count, fileSize);
  const Bytes after = zeroed(count, std::max(fileSize, memorySize));
  if (!before || !after) return refuseMemory("H5Awrite");
  std::copy_n(static_cast<const std::byte*>(data), count * memorySize, after.get());
  const bool written =
      H5Aread(attribute, fileType.get(), before.get()) >= 0 &&
      H5Tconvert(memoryType, fileType.get(), count, after.get(), before.get(), H5P_DEFAULT) >= 0 &&
      H5Awrite(attribute, fileType.get(), after.get()) >= 0;
  const KeepErrorStack keep;
  fileType.close();
  space.close();
  return written ? 0 : -1;
}

/// Whether HDF5 frees part of a fill value while it fills with it.
bool losesAsFillValue(hid_t type, bool background) {
  switch (H5Tget_class(type)) {
    case H5T_COMPOUND: {
      const int members = H5Tget_nmembers(type);
      for (int i = 0; i < members; ++i) {
        const Type member(H5Tget_member_type(type, static_cast<unsigned>(i)));
        if (losesAsFillValue(member.get(), true)) return true;
      }
      return false;
    }
    case H5T_ARRAY: {
      const Type base(H5Tget_super(type));
      const bool shared = H5Tget_class(base.get()) == H5T_COMPOUND;
      return shared ? holdsPointers(base.get()) : losesAsFillValue(base.get(), false);
    }
    case H5T_VLEN: {
      const Type base(H5Tget_super(type));
      return background ? losesAsFillValue(base.get(), true) : holdsPointers(base.get());
    }
    default: return false;
  }
}

constexpr const char* kPartialSequence =
    "a compound in a sequence is written with all of its members";
constexpr const char* kPartialAttribute =
    "an attribute of variable-length data is written with all members";

}  // namespace

herr_t writeNested(hid_t dataset, hid_t memoryType, hid_t memorySpace, const void* data,
                   const WriteBytes& write) {
  Needs needs;
  if (mayNest(memoryType)) {
    look(Type(H5Dget_type(dataset)).get(), memoryType, Within::Nothing, needs);
  }
  if (needs.impossible) return refuse("H5Dwrite", kPartialSequence);
  std::optional<ArrayConversion> arrays;
  if (needs.arrays && !arrays.emplace().valid()) return -1;
  if (needs.erasing && erase(memoryType, memorySpace, write) < 0) return -1;
  return write(data);
}

herr_t writeNestedAttribute(hid_t attribute, hid_t memoryType, const void* data) {
  if (!mayNest(memoryType)) return H5Awrite(attribute, memoryType, data);
  Needs needs;
  bool pointers = false;
  {
    const Type fileType(H5Aget_type(attribute));
    look(fileType.get(), memoryType, Within::Nothing, needs);
    pointers = holdsPointers(fileType.get());
  }
  if (needs.impossible) return refuse("H5Awrite", kPartialSequence);
  if (needs.partial && pointers) return refuse("H5Awrite", kPartialAttribute);
  std::optional<ArrayConversion> arrays;
  if (needs.arrays && !arrays.emplace().valid()) return -1;
  if (needs.partial) return writeSomeMembers(attribute, memoryType, data);
  return H5Awrite(attribute, memoryType, data);
}

herr_t setFillValue(hid_t list, hid_t type, const void* value) {
  if (losesAsFillValue(type, false)) {
    return refuse("H5Pset_fill_value",
                  "HDF5 loses fill values of variable-length data within sequences or arrays");
  }
  return H5Pset_fill_value(list, type, value);
}

herr_t copyObject(hid_t source, const char* sourceName, hid_t destination,
                  const char* destinationName, hid_t copyList, hid_t linkList) {
  const ArrayConversion arrays;
  if (!arrays.valid() || !hasRoomForCopy(source, sourceName, destination, copyList)) return -1;
  return H5Ocopy(source, sourceName, destination, destinationName, copyList, linkList);
}

}  // namespace hdf5
