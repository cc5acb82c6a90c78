// H5F: files.
#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "convert/constants.hpp"
#include "convert/record.hpp"
#include "wrappers/cache_config.hpp"
#include "wrappers/name_format.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using FileId = Id<"file identifier">;
using ObjectId = Id<"object identifier">;
using FileName = Text<"file name">;
using MountPoint = Text<"mount point">;

/// Creation takes the name of any constant; a combined mask must be a number.
struct CreateFlags {
  static unsigned from(const zbArray* array) {
    return isText(array) ? static_cast<unsigned>(constantValue(textOf(array))) : getUIntArg(array);
  }
};

/// Opening takes two names only.
struct OpenFlags {
  static unsigned from(const zbArray* array) {
    if (isText(array)) {
      const std::string name = textOf(array);
      if (name == "H5F_ACC_RDWR") return H5F_ACC_RDWR;
      if (name == "H5F_ACC_RDONLY") return H5F_ACC_RDONLY;
      raise<msg::unmatchedString>(name, "flags");
    }
    if (zbGetClass(array) != zbClass::Double) raise<msg::notDoublePrecision>("flags");
    return getUIntArg(array);
  }
};

/// Kinds of open objects: one name, or a mask as a number, which is also the only
/// way to ask for those opened through this identifier alone.
struct ObjectKinds {
  static unsigned from(const zbArray* array) {
    if (!isText(array)) return getUIntArg(array);
    static constexpr std::pair<std::string_view, unsigned> kKinds[] = {
        {"H5F_OBJ_FILE", H5F_OBJ_FILE},   {"H5F_OBJ_DATASET", H5F_OBJ_DATASET},
        {"H5F_OBJ_GROUP", H5F_OBJ_GROUP}, {"H5F_OBJ_DATATYPE", H5F_OBJ_DATATYPE},
        {"H5F_OBJ_ATTR", H5F_OBJ_ATTR},   {"H5F_OBJ_ALL", H5F_OBJ_ALL},
    };
    const std::string name = textOf(array);
    for (const auto& [known, kind] : kKinds) {
      if (name == known) return kind;
    }
    raise<msg::badH5FobjectString>(name);
  }
};

using FileInfo = hdf5::FileInfo;

constexpr Field<FileInfo> kMessagesInfo[] = {
    {"index_size",
     [](const FileInfo& info) { return makeSizeResult(info.sohm.msgs_info.index_size); }},
    {"heap_size",
     [](const FileInfo& info) { return makeSizeResult(info.sohm.msgs_info.heap_size); }},
};
constexpr Field<FileInfo> kSharedMessages[] = {
    {"hdr_size", [](const FileInfo& info) { return makeSizeResult(info.sohm.hdr_size); }},
    {"msgs_info", [](const FileInfo& info) { return makeRecord(kMessagesInfo, info); }},
};
constexpr Field<FileInfo> kFileInfo[] = {
    {"super_ext_size", [](const FileInfo& info) { return makeSizeResult(info.super_ext_size); }},
    {"sohm", [](const FileInfo& info) { return makeRecord(kSharedMessages, info); }},
};

void getInfo(zbArray** outs, const zbArray** ins) {
  FileInfo info{};
  checked(hdf5::getFileInfo(ObjectId::from(ins[0]), &info));
  outs[0] = makeRecord(kFileInfo, info);
}

void getObjectIds(zbArray** outs, const zbArray** ins) {
  const hid_t file = FileId::from(ins[0]);
  const unsigned kinds = ObjectKinds::from(ins[1]);
  const int wanted = getIntArg(ins[2]);
  // A script's maximum may be anything; there are no more than HDF5 counts.
  const ssize_t open = checked(H5Fget_obj_count(file, kinds));
  const auto room = static_cast<std::size_t>(std::clamp<ssize_t>(wanted, 0, open));
  std::vector<hid_t> ids(room);
  // HDF5 reads a maximum of 0 as no limit: none wanted is not a question for it.
  const ssize_t count = room == 0 ? 0 : checked(H5Fget_obj_ids(file, kinds, room, ids.data()));
  ids.resize(static_cast<std::size_t>(count));
  outs[0] = zbCreateDoubleScalar(static_cast<double>(count));
  outs[1] = makeColumn(ids, identifierToHost);
}

// --- Creating and opening --------------------------------------------------------

/// The family driver prints a member's number into its name, with the file's name as
/// the format.
void requireName(const char* function, const char* name, hid_t accessList) {
  if (accessList == H5P_DEFAULT || H5Pget_driver(accessList) != H5FD_FAMILY) return;
  if (!isNameFormat(name, "du", 2)) {
    raiseRefusal(function, "the name of a family of files is no format with one %d");
  }
}

hid_t createFile(const char* name, unsigned flags, hid_t creationList, hid_t accessList) {
  requireName("H5Fcreate", name, accessList);
  return H5Fcreate(name, flags, creationList, accessList);
}

hid_t openFile(const char* name, unsigned flags, hid_t accessList) {
  requireName("H5Fopen", name, accessList);
  return H5Fopen(name, flags, accessList);
}

constexpr Row kFileFunctions[] = {
    // name                  call                 gives       takes
    {"H5Fclose", wrap<H5Fclose, Nothing, FileId>},
    {"H5Fcreate", wrap<createFile, Identifier, FileName, CreateFlags,
                       ListId<"file creation property list">, ListId<"file access property list">>},
    {"H5Fflush", wrap<H5Fflush, Nothing, ObjectId, Enum<H5F_scope_t>>},
    {"H5Fget_access_plist", wrap<H5Fget_access_plist, Identifier, FileId>},
    {"H5Fget_create_plist", wrap<H5Fget_create_plist, Identifier, FileId>},
    {"H5Fget_filesize", wrap<H5Fget_filesize, Outputs<AsSize<hsize_t>>, FileId>},
    {"H5Fget_freespace", wrap<H5Fget_freespace, RawNumber, FileId>},
    {"H5Fget_info", rule<1, getInfo>},
    {"H5Fget_mdc_config", rule<1, getCacheConfig<H5Fget_mdc_config, FileId>>},
    {"H5Fget_mdc_hit_rate", wrap<H5Fget_mdc_hit_rate, Outputs<AsNumber<double>>, FileId>},
    {"H5Fget_mdc_size",
     wrap<H5Fget_mdc_size,
          Outputs<AsSize<std::size_t>, AsSize<std::size_t>, AsSize<std::size_t>, AsNumber<int>>,
          FileId>},
    {"H5Fget_name", wrap<H5Fget_name, RawText, ObjectId>},
    {"H5Fget_obj_count", wrap<H5Fget_obj_count, RawNumber, FileId, ObjectKinds>},
    {"H5Fget_obj_ids", rule<3, getObjectIds>},
    {"H5Fis_hdf5", wrap<H5Fis_hdf5, RawNumber, FileName>},
    {"H5Fmount", wrap<H5Fmount, Nothing, FileId, MountPoint, Id<"child identifier">,
                      ListId<"mount property list">>},
    {"H5Fopen", wrap<openFile, Identifier, FileName, OpenFlags, ObjectList<"access identifier">>},
    {"H5Freopen", wrap<H5Freopen, Identifier, FileId>},
    {"H5Fset_mdc_config", rule<2, setCacheConfig<H5Fset_mdc_config, FileId>>},
    {"H5Funmount", wrap<H5Funmount, Nothing, FileId, MountPoint>},
};

}  // namespace

std::span<const Row> fileFunctions() { return kFileFunctions; }

}  // namespace h5gate
