// The classes of property lists that scripts can name.
#pragma once

namespace h5test {

struct ListClass {
  const char* name;
  const char* described;  // as HDF5 itself calls it
};

inline constexpr ListClass kListClasses[] = {
    {"H5P_OBJECT_CREATE", "object create"},
    {"H5P_FILE_CREATE", "file create"},
    {"H5P_FILE_ACCESS", "file access"},
    {"H5P_DATASET_CREATE", "dataset create"},
    {"H5P_DATASET_ACCESS", "dataset access"},
    {"H5P_DATASET_XFER", "data transfer"},
    {"H5P_FILE_MOUNT", "file mount"},
    {"H5P_GROUP_CREATE", "group create"},
    {"H5P_GROUP_ACCESS", "group access"},
    {"H5P_DATATYPE_CREATE", "datatype create"},
    {"H5P_DATATYPE_ACCESS", "datatype access"},
    {"H5P_STRING_CREATE", "string create"},
    {"H5P_ATTRIBUTE_CREATE", "attribute create"},
    {"H5P_OBJECT_COPY", "object copy"},
    {"H5P_LINK_CREATE", "link create"},
    {"H5P_LINK_ACCESS", "link access"},
};

}  // namespace h5test
