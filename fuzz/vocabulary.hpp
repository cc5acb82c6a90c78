// The words that calls are made of: what the gateway itself tells of its constants and
// properties, and names of the objects that every sequence of calls begins with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

using Words = std::vector<std::string>;

struct Vocabulary {
  Words constants;
  Words properties;   // of lists, for H5Pset and its like
  Words listClasses;  // "H5P_FILE_ACCESS" ...
  Words datatypes;    // "H5T_NATIVE_INT" ...
  Words objects = {"data",      "group",      "compound", "group/record", "words",    "sequences",
                   "scale",     "type",       "soft",     "group/back",   "chunks",   "new",
                   "group/new", ".",          "/",        "dangling",     "external", "",
                   "none",      "references", "hung"};
  Words newObjects = {"new", "group/new", "made", "group/made", "new/made"};
  Words attributes = {"attribute", "words", "made", "none", ""};
  Words files = {"file.h5", "other.h5", "new.h5", "none.h5", "%05d.h5", "%s-%s", "", ".", "raw"};
  Words members = {"x", "s", "red", "green", "none", ""};
};

/// Asked for once.
const Vocabulary& vocabulary();

/// What the argument takes if it is of an enumeration; none if it is not.
const Words& enumeratorsOf(const std::string& function, std::string_view argument);

}  // namespace fuzz
