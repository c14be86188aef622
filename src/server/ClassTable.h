// server/ClassTable.h - every public class with its members: one row each, the source of every binding.
//
// A member exists for all bindings or for none. The rows' functions are made from member pointers
// (server/Thunks.h); counting, defaults and kinds are server/Invoke.h's.
#pragma once

#include <array>
#include <initializer_list>
#include <span>
#include <string_view>
#include <typeinfo>

#include "runtime/Object.h"
#include "runtime/Variant.h"

namespace varnex3::server {

/// Types as a binding publishes them.
enum class Type {
    None,    // a method without a result
    Double,  // 64-bit
    Long,    // 32-bit whole number
    Integer, // 16-bit whole number
    Boolean, // 16-bit where it leaves the process: -1 and 0
    Text,
    Variant,
    Doubles, // array of numbers, counts from 1
    Ranges,  // array of cells
    Texts,   // two-dimensional array of texts
    Object,  // of the class named beside it
};

struct ValueType {
    Type type = Type::None;
    const char* className = nullptr; // of an object: a row of the table, "Range", "Collection", ...
};

struct ArgumentRow {
    const char* name = "";
    ValueType type;
    bool byValue = false;
    bool changed = false; // the member assigns to it: the caller's variable receives the result
    bool optional = false;
    double standard = 0.0; // of an optional number left out; Booleans are then False, others empty
};

/// Arguments in the order of a call; of a property, its indexes.
inline constexpr std::size_t kMaxArguments = 8;

struct Arguments {
    std::array<ArgumentRow, kMaxArguments> rows;
    std::size_t count = 0;

    constexpr Arguments() = default;
    constexpr Arguments(std::initializer_list<ArgumentRow> given)
    {
        for (const ArgumentRow& row : given) rows[count++] = row;
    }
};

struct MemberRow;

/// Runs a member. `arguments` has a place for every argument of the row, and one more for the value of a
/// put; those left out are `missingArgument`.
using Thunk = void (*)(Object& self, const MemberRow& row, Variant* arguments, Variant& result);

struct MemberRow {
    const char* name = "";
    bool method = false;
    Thunk read = nullptr; // get or call
    Thunk write = nullptr;
    bool byValue = false;     // the write takes values
    bool byReference = false; // the write takes references to objects
    ValueType type;           // of the property, or a method's result
    Arguments list;
    const char* summary = "";

    std::span<const ArgumentRow> arguments() const { return {list.rows.data(), list.count}; }
};

struct ClassRow {
    const char* name = "";
    bool creatable = false; // by identifier; others come out of members
    ObjectRef (*create)() = nullptr;
    bool (*holds)(const Object& object) = nullptr;
    const std::type_info* type = nullptr; // of the library's own classes: faster than `holds`
    std::span<const MemberRow> members;   // in slot order; the number of a member is its position from 1
    Long defaultMember = 0;               // number of the member that stands for the object; 0: none
    const char* summary = "";
    const char* example = ""; // a short macro
};

/// The classes, public ones first, in the order of the documentation.
std::span<const ClassRow* const> classTable();

/// Whether two names are the same, letter case ignored.
bool sameName(std::string_view a, std::string_view b);

/// The class of an object, null when it has none.
const ClassRow* classOf(const Object& object);

/// The class of that name, letter case ignored, with or without "varnex3." before it; null when there is
/// none.
const ClassRow* findClass(std::string_view name);

/// The number of a member, letter case ignored; 0 when there is none.
Long findMember(const ClassRow& row, std::string_view name);

/// What stands before the class names in identifiers.
inline constexpr std::string_view kLibrary = "varnex3";

} // namespace varnex3::server
