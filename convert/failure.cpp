#include "convert/failure.hpp"

#include "hdf5/error_stack.hpp"

namespace h5gate {

void raiseRefusal(const char* function, const char* reason) {
  hdf5::refuse(function, reason);
  KVH5libraryError();
}

}  // namespace h5gate
