#include "convert/failure.hpp"

#include "hdf5/compat.hpp"

namespace h5gate {

void raiseRefusal(const char* function, const char* reason) {
  H5Eclear2(H5E_DEFAULT);
  H5Epush2(H5E_DEFAULT, "h5gate", function, 0, H5E_ERR_CLS, H5E_ARGS, H5E_BADVALUE, "%s", reason);
  KVH5libraryError();
}

}  // namespace h5gate
