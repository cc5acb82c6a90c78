// H5F: files.
#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "convert/constants.hpp"
#include "convert/record.hpp"
#include "hdf5/closing.hpp"
#include "hdf5/family_shields.hpp"
#include "hdf5/file_shields.hpp"
#include "hdf5/mount_shields.hpp"
#include "wrappers/cache_config.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using FileId = Id<"file identifier">;
using ObjectId = Id<"object identifier">;
using FileName = Text<"file name">;
using MountPoint = Text<"mount point">;
using CreationList = ObjectListByName<"file creation property list">;
using AccessListByName = ObjectListByName<"file access property list">;
using AccessList = ObjectList<"access identifier">;
using ChildId = Id<"child identifier">;
using MountList = ListId<"mount property list">;

/// Creation takes the name of any constant; a combined mask must be a number.
struct CreateFlags {
  static unsigned from(const zbArray* array) {
    return isText(array) ? static_cast<unsigned>(constantValue(textOf(array), array))
                         : getUIntArg(array);
  }
};

/// Opening takes two names only.
struct OpenFlags {
  static unsigned from(const zbArray* array) {
    if (isText(array)) {
      const std::string name = textOf(array);
      if (name == "H5F_ACC_RDWR") return H5F_ACC_RDWR;
      if (name == "H5F_ACC_RDONLY") return H5F_ACC_RDONLY;
      raiseAbout<msg::unmatchedString>(array, name, "flags");
    }
    if (zbGetClass(array) != zbClass::Double) raiseAbout<msg::notDoublePrecision>(array, "flags");
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
    raiseAbout<msg::badH5FobjectString>(array, name);
  }
};

using FileInfo = hdf5::FileInfo;

constexpr Field<FileInfo> kMessagesInfo[] = {
    {"index_size", [](const FileInfo& info) { return makeNumber(info.sohm.msgs_info.index_size); }},
    {"heap_size", [](const FileInfo& info) { return makeNumber(info.sohm.msgs_info.heap_size); }},
};
constexpr Field<FileInfo> kSharedMessages[] = {
    {"hdr_size", [](const FileInfo& info) { return makeNumber(info.sohm.hdr_size); }},
    {"msgs_info", [](const FileInfo& info) { return makeRecord(kMessagesInfo, info); }},
};
constexpr Field<FileInfo> kFileInfo[] = {
    {"super_ext_size", numberOf<&FileInfo::super_ext_size>},
    {"sohm", [](const FileInfo& info) { return makeRecord(kSharedMessages, info); }},
};

void getObjectIds(Inputs ins, Results& outs) {
  const auto [file, kinds, wanted] = take<FileId, ObjectKinds, Int>(ins);
  // A script's maximum may be anything; there are no more than HDF5 counts.
  const ssize_t open = checked(H5Fget_obj_count(file, kinds));
  const auto room = static_cast<std::size_t>(std::clamp<ssize_t>(wanted, 0, open));
  std::vector<hid_t> ids(room + hdf5::kObjectIdsBeyond);
  // HDF5 reads a maximum of 0 as no limit: none wanted is not a question for it.
  const ssize_t count = room == 0 ? 0 : checked(H5Fget_obj_ids(file, kinds, room, ids.data()));
  ids.resize(std::min(static_cast<std::size_t>(count), room));
  outs.give(makeNumber(ids.size()));
  outs.give(makeColumn(ids, identifierToHost));
}

constexpr Row kFileFunctions[] = {
    // clang-format off
    //  name                 gives                                  takes
    CALL(H5Fclose, hdf5::closeFile, Nothing,                        FileId),
    CALL(H5Fcreate, hdf5::createFile, Identifier,                   FileName, CreateFlags,
                                                                    CreationList, AccessListByName),
    CALL(H5Fflush, hdf5::flush, Nothing,                            ObjectId, Enum<H5F_scope_t>),
    ROW(H5Fget_access_plist, Identifier,                            FileId),
    ROW(H5Fget_create_plist, Identifier,                            FileId),
    CALL(H5Fget_filesize, hdf5::getFileSize, Outputs<hsize_t>,      FileId),
    ROW(H5Fget_freespace,    Unchecked<Number>,                     FileId),
    CALL(H5Fget_info, hdf5::getFileInfo, Outputs<Record<kFileInfo>>, ObjectId),
    ROW(H5Fget_mdc_config,   Outputs<CacheConfig>,                  FileId),
    ROW(H5Fget_mdc_hit_rate, Outputs<double>,                       FileId),
    ROW(H5Fget_mdc_size,     Outputs<size_t, size_t, size_t, int>,  FileId),
    ROW(H5Fget_name,         Unchecked<BufferedText>,               ObjectId, Buffer),
    ROW(H5Fget_obj_count,    Unchecked<Number>,                     FileId, ObjectKinds),
    OWN(H5Fget_obj_ids,      getObjectIds),
    ROW(H5Fis_hdf5,          Unchecked<Number>,                     FileName),
    CALL(H5Fmount, hdf5::mount, Nothing,                             FileId, MountPoint, ChildId,
                                                                    MountList),
    CALL(H5Fopen, hdf5::openFile, Identifier,                       FileName, OpenFlags,
                                                                    AccessList),
    ROW(H5Freopen,           Identifier,                            FileId),
    ROW(H5Fset_mdc_config,   Nothing,                               FileId, CacheConfig),
    CALL(H5Funmount, hdf5::unmount, Nothing,                         FileId, MountPoint),
};  // clang-format on

}  // namespace

std::span<const Row> fileFunctions() { return kFileFunctions; }

}  // namespace h5gate
