// Which call of the system fails next.
#pragma once

#include <cstdint>

namespace faults {

enum class Operation { Allocation, Write, Sync, Truncate, Read, Open };
constexpr int kOperations = 6;

extern "C" {

/// The call with this number, counted from 0, fails; with `onwards` all behind it as well.
void faultArm(Operation operation, std::uint64_t number, bool onwards);
/// Counts only.
void faultCount(Operation operation);
/// How many there were since. Nothing fails any more.
std::uint64_t faultDisarm();

}  // extern "C"

}  // namespace faults
