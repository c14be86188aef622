// server/ClassTable.cpp - the table put together, and looked up.
#include "server/ClassTable.h"

#include <algorithm>
#include <cctype>
#include <typeindex>
#include <unordered_map>
#include <vector>

#include "server/Classes.h"

namespace varnex3::server {
namespace {

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

std::vector<const ClassRow*> joined()
{
    std::vector<const ClassRow*> all;
    for (const auto rows : {formulationClasses(), optimizationClasses(), sensitivityClasses(),
                            statisticsClasses(), collectionClasses(), hostClasses()})
        for (const ClassRow& row : rows) all.push_back(&row);
    return all;
}

/// The classes that are the library's own.
std::unordered_map<std::type_index, const ClassRow*> byType()
{
    std::unordered_map<std::type_index, const ClassRow*> own;
    for (const ClassRow* row : classTable())
        if (row->type) own.emplace(*row->type, row);
    return own;
}

} // namespace

bool sameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lower(x) == lower(y); });
}

std::span<const ClassRow* const> classTable()
{
    static const std::vector<const ClassRow*> table = joined();
    return table;
}

const ClassRow* classOf(const Object& object)
{
    static const std::unordered_map<std::type_index, const ClassRow*> own = byType();
    if (const auto found = own.find(typeid(object)); found != own.end()) return found->second;
    for (const ClassRow* row : classTable())
        if (row->holds(object)) return row; // hosts differ in their classes
    return nullptr;
}

const ClassRow* findClass(std::string_view name)
{
    if (const auto dot = name.find('.'); dot != std::string_view::npos) {
        if (!sameName(name.substr(0, dot), kLibrary)) return nullptr;
        name.remove_prefix(dot + 1);
    }
    for (const ClassRow* row : classTable())
        if (sameName(row->name, name)) return row;
    return nullptr;
}

Long findMember(const ClassRow& row, std::string_view name)
{
    for (std::size_t i = 0; i < row.members.size(); ++i)
        if (sameName(row.members[i].name, name)) return static_cast<Long>(i + 1);
    return 0;
}

} // namespace varnex3::server
