// server/TypeLibrary.cpp - one dispatch interface and one class per published row.
#include "server/TypeLibrary.h"

#include <algorithm>

namespace varnex3::server {
namespace {

// The last two digits tell library (00), classes (01 and up) and interfaces (81 and up) apart.
constexpr const char* kGuidBase = "c5b9a1e0-6d3f-4b52-8f4e-7a1d902e56";
constexpr std::size_t kInterfaces = 0x80;

std::string guid(std::size_t place)
{
    constexpr const char* kDigits = "0123456789abcdef";
    return std::string(kGuidBase) + kDigits[place / 16 % 16] + kDigits[place % 16];
}

// Identifiers go by the place here; classes are only ever appended.
constexpr std::string_view kPublished[] = {
    "c_Formulation",   "c_Parameter",  "c_Response",    "c_Constraint",  "c_Goal",         "c_Options",
    "c_Optimization",  "c_MonteCarlo", "c_Derivatives", "c_sa_Analysis", "c_sa_Input",     "c_sa_Output",
    "c_al_Allocation", "c_al_Input",   "c_al_Output",   "c_Statistics",  "c_Distribution", "Collection",
};

/// From 1; 0 for a class that is not published.
std::size_t placeOf(const ClassRow& row)
{
    const auto found = std::find(std::begin(kPublished), std::end(kPublished), row.name);
    return found == std::end(kPublished) ? 0 : static_cast<std::size_t>(found - std::begin(kPublished)) + 1;
}

std::string interfaceName(const ClassRow& row) { return std::string("_") + row.name; }

std::string quoted(std::string_view text)
{
    std::string result = "\"";
    for (char c : text) result += c == '"' ? std::string("\\\"") : std::string(1, c);
    return result + '"';
}

std::string typeName(const ValueType& type)
{
    switch (type.type) {
    case Type::None: return "void";
    case Type::Double: return "double";
    case Type::Long: return "long";
    case Type::Integer: return "short";
    case Type::Boolean: return "VARIANT_BOOL";
    case Type::Text: return "BSTR";
    case Type::Variant: return "VARIANT";
    case Type::Doubles: return "SAFEARRAY(double)";
    case Type::Ranges: return "SAFEARRAY(VARIANT)";
    case Type::Texts: return "SAFEARRAY(BSTR)";
    case Type::Object: {
        const ClassRow* row = findClass(type.className);
        return row && isPublished(*row) ? interfaceName(*row) + "*" : "IDispatch*";
    }
    }
    return {};
}

std::string argumentText(const ArgumentRow& row)
{
    const std::string type = typeName(row.type);
    std::string attributes = row.byValue ? "in" : "in, out";
    if (row.optional) attributes += ", optional";
    return "[" + attributes + "] " + type + (row.byValue ? " " : "* ") + row.name;
}

/// One line for one use of a member; `kind` is its attribute, `extra` the last argument of a put.
std::string memberText(Long number, const MemberRow& member, const std::string& kind,
                       const std::string& result, const std::string& extra)
{
    std::string list;
    for (const ArgumentRow& argument : member.arguments())
        list += (list.empty() ? "" : ", ") + argumentText(argument);
    if (!extra.empty()) list += (list.empty() ? "" : ", ") + extra;
    return "        [id(" + std::to_string(number) + ")" + kind + ", helpstring(" + quoted(member.summary) +
           ")]\n        " + result + " " + member.name + "(" + list + ");\n";
}

std::string memberTexts(Long number, const MemberRow& member)
{
    const std::string type = typeName(member.type);
    if (member.method) return memberText(number, member, "", type, "");
    std::string text;
    if (member.read) text += memberText(number, member, ", propget", type, "");
    if (member.write && member.byValue)
        text += memberText(number, member, ", propput", "void", "[in] " + type + " value");
    if (member.write && member.byReference)
        text += memberText(number, member, ", propputref", "void", "[in] " + type + " value");
    return text;
}

std::string interfaceText(const ClassRow& row)
{
    std::string text = "    [uuid(" + interfaceGuid(row) + "), helpstring(" + quoted(row.summary) +
                       ")]\n    dispinterface " + interfaceName(row) +
                       "\n    {\n    properties:\n    methods:\n";
    for (std::size_t i = 0; i < row.members.size(); ++i) {
        const Long number = static_cast<Long>(i + 1);
        text += memberTexts(number == row.defaultMember ? 0 : number, row.members[i]);
    }
    return text + "    };\n";
}

std::string classText(const ClassRow& row)
{
    if (!row.creatable) return {};
    return "    [uuid(" + classGuid(row) + "), helpstring(" + quoted(row.summary) + ")]\n    coclass " +
           row.name + "\n    {\n        [default] dispinterface " + interfaceName(row) + ";\n    };\n";
}

template <class F>
std::string forEachPublished(F&& text)
{
    std::string all;
    for (std::string_view name : kPublished) all += text(*findClass(name));
    return all;
}

} // namespace

std::string libraryGuid() { return guid(0); }
std::string classGuid(const ClassRow& row) { return guid(placeOf(row)); }
std::string interfaceGuid(const ClassRow& row) { return guid(kInterfaces + placeOf(row)); }

bool isPublished(const ClassRow& row) { return placeOf(row) != 0; }

std::string interfaceDefinition()
{
    return "// Made from the table in src/server/; test_server compares the two and tells how to make it "
           "again.\n"
           "[uuid(" +
           libraryGuid() +
           "), version(1.0), helpstring(\"Corvane: design analysis on spreadsheets\")]\nlibrary " +
           std::string(kLibrary) + "\n{\n    importlib(\"stdole2.tlb\");\n\n" +
           forEachPublished(
               [](const ClassRow& row) { return "    dispinterface " + interfaceName(row) + ";\n"; }) +
           "\n" +
           forEachPublished([](const ClassRow& row) { return interfaceText(row) + classText(row) + "\n"; }) +
           "};\n";
}

} // namespace varnex3::server
