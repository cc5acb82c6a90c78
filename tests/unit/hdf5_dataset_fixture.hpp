// HDF5Dataset on its own: transfers through a file in memory, and what it refuses.
#pragma once

#include "host/hdf5_dataset.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "runtime/call_scope.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/spaces.hpp"
#include "tests/unit/typed_values.hpp"

namespace h5test {

inline Owned colours(AnyType base) { return enumeration({"red", "green", "blue"}, base); }

inline Owned memoryType(AnyType fileType) {
  return Owned(HDF5Dataset::getMemDatatype(fileType.get()));
}
inline Owned memoryType(AnyType fileType, const Value& data) {
  return Owned(HDF5Dataset::getMemDatatype(fileType.get(), data.get()));
}

/// The text of the host error that the action raises.
inline std::string refusal(const std::string& key, const std::function<void()>& action) {
  const Failure error = raisedBy(action);
  if (!error) {
    ADD_FAILURE() << "nothing was raised, not even " << key;
    return {};
  }
  EXPECT_EQ((*error)->key, key) << error->what();
  EXPECT_EQ((*error)->identifier, "Zembra:host:" + key);
  return error->what();
}

class Hdf5DatasetTest : public testing::Test {
 protected:
  Owned create(AnyType fileType, const Owned& space) {
    const std::string name = "data" + std::to_string(created_++);
    return Owned(H5Dcreate2(file_.get(), name.c_str(), fileType.get(), space.get(), H5P_DEFAULT,
                            H5P_DEFAULT, H5P_DEFAULT));
  }

  static void write(const Owned& dataset, AnyType memory, const Owned& space, const Value& data) {
    HDF5Dataset transfer(memory.get(), space.get());
    const void* buffer = transfer.write(data.get());
    ASSERT_GE(H5Dwrite(dataset.get(), memory.get(), space.get(), H5S_ALL, H5P_DEFAULT, buffer), 0);
  }

  static Value read(const Owned& dataset, AnyType memory, const Owned& space,
                    hid_t fileSpace = H5S_ALL) {
    HDF5Dataset transfer(memory.get(), space.get());
    void* buffer = transfer.getBuffer();
    EXPECT_NE(buffer, nullptr);
    EXPECT_GE(H5Dread(dataset.get(), memory.get(), space.get(), fileSpace, H5P_DEFAULT, buffer), 0);
    return zembra::CallScope::take(transfer.read(buffer));
  }

  /// Writes and reads with the datatypes that the host chooses.
  Value roundTrip(AnyType fileType, const Owned& space, const Value& data) {
    const Owned dataset = create(fileType, space);
    write(dataset, memoryType(fileType, data), space, data);
    return read(dataset, memoryType(fileType), space);
  }

  /// The same with one memory datatype for both ways.
  Value roundTrip(AnyType fileType, AnyType memory, const Owned& space, const Value& data) {
    const Owned dataset = create(fileType, space);
    write(dataset, memory, space, data);
    return read(dataset, memory, space);
  }

  /// The buffer that writing makes of an array.
  template <class T>
  static std::vector<T> laidOut(AnyType memory, const Owned& space, const Value& data,
                                std::size_t count) {
    HDF5Dataset transfer(memory.get(), space.get());
    std::vector<T> result(count);
    std::memcpy(result.data(), transfer.write(data.get()), count * sizeof(T));
    return result;
  }

  /// The array that reading makes of a buffer.
  static Value gathered(AnyType memory, const Owned& space, const void* buffer) {
    HDF5Dataset transfer(memory.get(), space.get());
    return zembra::CallScope::take(transfer.read(buffer));
  }

  static std::string writeRefusal(const std::string& key, AnyType memory, const Owned& space,
                                  const Value& data) {
    return refusal(key, [&] {
      HDF5Dataset transfer(memory.get(), space.get());
      transfer.write(data.get());
    });
  }

  MemoryFile file_;

 private:
  zembra::CallScope scope_;
  int created_ = 0;
};

}  // namespace h5test
