// The host's arrays, as extensions see them: an opaque handle with class tests,
// element access and creation. Arrays are column-major and have two dimensions
// at least; numeric data are contiguous.
//
// Ownership: arguments belong to the caller and are never changed or destroyed.
// What an extension creates and stores in its results passes to the host. What
// it creates and neither stores nor destroys is reclaimed by the host when the
// call ends, whichever way it ends; a raised error therefore leaks no array.
#pragma once

#include <cstddef>
#include <cstdint>

struct zbArray;

enum class zbClass : int {
  Unknown,
  Cell,
  Struct,
  Logical,
  Char,
  Double,
  Single,
  Int8,
  UInt8,
  Int16,
  UInt16,
  Int32,
  UInt32,
  Int64,
  UInt64,
  Function,
  Object,
  Foreign,
};

extern "C" {

// --- What an array is -------------------------------------------------------

zbClass zbGetClass(const zbArray* array);

/// "double", "int32", "cell", ...; for an object the name of its class.
const char* zbGetClassName(const zbArray* array);

/// Numeric: double, single and the eight integer classes (not logical, not char).
bool zbIsNumeric(const zbArray* array);
bool zbIsComplex(const zbArray* array);
bool zbIsSparse(const zbArray* array);

std::size_t zbGetNumberOfElements(const zbArray* array);
/// Two at least.
std::size_t zbGetNumberOfDimensions(const zbArray* array);
/// Fastest-varying first; valid while the array lives.
const std::size_t* zbGetDimensions(const zbArray* array);

/// Changes the shape in place; 0 on success, nonzero when the element count
/// would change.
int zbSetDimensions(zbArray* array, std::size_t count, const std::size_t* dimensions);

// --- What it holds ----------------------------------------------------------

/// The first element as a double: numeric and logical arrays. Quiet NaN for an
/// empty array and for every other class (text is not a number).
double zbGetScalar(const zbArray* array);

/// The data of a numeric, logical or char array (bytes, UTF-8); null otherwise
/// and for empty arrays.
const void* zbGetData(const zbArray* array);
void* zbGetWritableData(zbArray* array);
/// Bytes of one element of such an array, 0 for the other classes.
std::size_t zbGetElementSize(const zbArray* array);

/// The text of a char array, NUL-terminated, to be released with zbFree. Raises a
/// host error for any other class and for text with a NUL inside, which a C
/// string cannot carry.
char* zbArrayToString(const zbArray* array);

/// A borrowed element, null when the index is out of range or the cell is unset.
const zbArray* zbGetCell(const zbArray* array, std::size_t index);
/// A borrowed field of element `index`, null when there is no such field.
const zbArray* zbGetField(const zbArray* array, std::size_t index, const char* name);
/// A borrowed property of an object, null when there is no such property.
const zbArray* zbGetProperty(const zbArray* array, std::size_t index, const char* name);

// --- Making arrays ----------------------------------------------------------
// Each raises a host error when memory cannot be had.

zbArray* zbCreateDoubleScalar(double value);
zbArray* zbCreateLogicalScalar(bool value);
/// A char row of the text's bytes; null gives the empty text.
zbArray* zbCreateString(const char* text);
/// Numeric, logical or char, zero-filled.
zbArray* zbCreateNumericArray(std::size_t count, const std::size_t* dimensions, zbClass type);
/// The same without the zeros, for whoever fills it at once.
zbArray* zbCreateUninitNumericArray(std::size_t count, const std::size_t* dimensions, zbClass type);
zbArray* zbCreateCellArray(std::size_t count, const std::size_t* dimensions);
/// 1-by-1 when `elements` is 1, 0-by-0 when it is 0; every field starts empty.
zbArray* zbCreateStructArray(std::size_t elements, std::size_t fields, const char* const* names);

/// Both take the value over.
void zbSetCell(zbArray* array, std::size_t index, zbArray* value);
void zbSetField(zbArray* array, std::size_t index, const char* name, zbArray* value);

/// A deep copy.
zbArray* zbDuplicateArray(const zbArray* array);
void zbDestroyArray(zbArray* array);

// --- Memory -----------------------------------------------------------------

/// The host's allocator: what C's malloc and free promise, null on failure.
void* zbMalloc(std::size_t size);
void zbFree(void* memory);

}  // extern "C"
