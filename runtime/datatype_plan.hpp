// A memory datatype as the conversions need it: asked of HDF5 once, then a tree of
// plain facts to recurse over.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hdf5/handle.hpp"
#include "runtime/array.hpp"

namespace zembra {

struct DatatypePlan {
  /// How data of the datatype look in the host.
  enum class Kind {
    Number,        // an array of numbers of the same kind
    Code,          // enumerations and bit fields: an array of integers
    FixedText,     // a char array, whose first dimension is a text's `size` bytes
    Bytes,         // opaque data and references: a uint8 array, likewise
    VariableText,  // a cell of char rows
    Compound,      // a 1-by-1 structure with a field for each member
    Sequence,      // a cell of arrays of the base
    Array,         // an array of the base, whose first dimensions are the datatype's
  };

  struct Member;

  Kind kind{};
  H5T_class_t typeClass = H5T_NO_CLASS;
  std::size_t size = 0;         // of an element in the HDF5 buffer
  bool variableLength = false;  // holds pointers to memory that HDF5 allocated

  // Leaves: one array each, whose elements lie next to each other as in the buffer.
  zbClass hostClass = zbClass::Unknown;
  char padding = '\0';      // of fixed texts
  bool terminated = false;  // fixed texts that end at their first NUL

  // Numbers and codes: two datatypes, between which HDF5 converts where they differ.
  hid_t hostType = H5I_INVALID_HID;  // in the array; one of HDF5's own, never closed
  hdf5::Type bufferType;             // in the buffer; valid where it is another

  std::vector<Member> members;         // compounds
  std::unique_ptr<DatatypePlan> base;  // sequences and arrays
  Shape dimensions;                    // arrays: fastest-varying first
  std::size_t repeat = 1;              // arrays: base elements in one

  [[nodiscard]] bool leaf() const { return kind <= Kind::Bytes; }
  /// A leaf whose elements are whole strings of bytes.
  [[nodiscard]] bool wide() const { return kind == Kind::FixedText || kind == Kind::Bytes; }
  /// HDF5 has to convert between buffer and array.
  [[nodiscard]] bool needsConversion() const { return bufferType.valid(); }
  /// Bytes of one element before or after conversion, whichever is more.
  [[nodiscard]] std::size_t widest() const;
  /// Whether there are bytes between members, at any depth.
  [[nodiscard]] bool hasGaps() const;
  [[nodiscard]] std::string describe() const;
};

struct DatatypePlan::Member {
  std::string name;
  std::size_t offset = 0;
  DatatypePlan plan;
};

/// Raises a host error for a datatype that has no host form.
DatatypePlan planDatatype(hid_t memoryType);

}  // namespace zembra
