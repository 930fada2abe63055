// The records of binary FBX files: a tree that can be changed and written again.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ond::command {

struct FbxRecord {
    std::string name;
    /// Each as in the file, the letter of its kind first. fbxText() and its like make them.
    std::vector<std::string> properties;
    std::vector<FbxRecord> nested;
    /// A list of nested records follows, be it an empty one.
    bool hasList = false;

    /// The first nested record of that name; null without one.
    [[nodiscard]] FbxRecord* find(const std::string& of);
    FbxRecord& add(FbxRecord record);
};

struct FbxFile {
    std::string head;  ///< up to the first record; tells the version
    std::vector<FbxRecord> records;
    std::string mark;  ///< 16 bytes behind the last record
    std::string end;   ///< the last 16 bytes

    /// @throws CommandError if there is none at the top
    [[nodiscard]] FbxRecord& at(const std::string& name);
};

/// Binary FBX ends every list of nested records with an empty record. Some versions of the exporter leave these out,
/// and no program reads such a file. This reads both kinds.
/// @throws CommandError for other files than binary FBX, and for records that do not fit into each other
[[nodiscard]] FbxFile readFbx(const std::string& file);
/// With all the empty records.
[[nodiscard]] std::string writeFbx(const FbxFile& file);

[[nodiscard]] std::string fbxText(const std::string& text);
[[nodiscard]] std::string fbxWhole(std::int32_t number);
[[nodiscard]] std::string fbxLong(std::int64_t number);
[[nodiscard]] std::string fbxNumber(double number);
/// The name of an object with its class, as object records have it.
[[nodiscard]] std::string fbxName(const std::string& name, const std::string& kind);
/// The text of a property; empty for other kinds.
[[nodiscard]] std::string textOf(const std::string& property);

/// Sets one of the typed values that a record keeps in its "Properties70", or adds it.
/// @param types kind, label and flags as the format has them, such as {"enum", "", ""}
void setFbxValue(FbxRecord& record, const std::string& name, const std::vector<std::string>& types,
                 const std::vector<std::string>& values);

}  // namespace ond::command
