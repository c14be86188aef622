// Walks the whole table: every class created, every member read, written and called with wrong arguments.
#include <algorithm>
#include <iterator>
#include <map>
#include <vector>

#include "server/Classes.h"
#include "server/Invoke.h"
#include "server/TypeLibrary.h"
#include "support/Expect.h"

namespace varnex3::server {
namespace {

using test::expectRaises;
using test::raisedBy;

class ClassTable : public test::LibraryTest {
protected:
    /// An object whose members can all be read: with an item, a family and a grid where reading needs them.
    ObjectRef fresh(const ClassRow& type)
    {
        if (std::string_view(type.name) == "Collection") return collection(type);
        if (!type.creatable) return hostObject(type.name);
        const ObjectRef object = createObject("varnex3." + std::string(type.name));
        if (auto f = std::dynamic_pointer_cast<c_Formulation>(object)) f->AddX("a");
        if (auto x = std::dynamic_pointer_cast<c_Parameter>(object)) x->dist->Add(make<c_Distribution>());
        if (auto d = std::dynamic_pointer_cast<c_Distribution>(object)) {
            d->DistType("Normal");
            d->param1(5.0);
            d->param2(2.0);
            d->resizeArrays(3);
        }
        return object;
    }
    /// The collection of the kind that the row is for: all kinds go by one name.
    ObjectRef collection(const ClassRow& type)
    {
        const auto f = make<c_Formulation>();
        const ObjectRef kinds[] = {f->Xs, f->Ys, f->Cs, f->Gs, make<c_Parameter>()->dist};
        return *std::find_if(std::begin(kinds), std::end(kinds),
                             [&](const ObjectRef& kind) { return type.holds(*kind); });
    }
    ObjectRef hostObject(std::string_view name)
    {
        const Ref<host::Range> cell = sheet.range("A1");
        const std::map<std::string_view, ObjectRef> objects = {
            {"Application", host},
            {"Workbooks", host->Workbooks()},
            {"Workbook", host->ActiveWorkbook()},
            {"Worksheets",
             lateBound(host->ActiveWorkbook())->invoke("Worksheets", InvokeKind::Read, {}).object()},
            {"Worksheet", cell->Worksheet()},
            {"Range", cell},
        };
        return objects.at(name);
    }
    template <class T>
    Ref<T> make()
    {
        return std::dynamic_pointer_cast<T>(createObject(std::string("varnex3.") + kClassName<T>));
    }

    /// A value of that type, and not the one a new object holds.
    Variant sample(const ValueType& type, const Variant& held)
    {
        switch (type.type) {
        case Type::Double: return 0.25;
        case Type::Variant: return 0.25;
        case Type::Long:
        case Type::Integer: return 3;
        case Type::Boolean: return true;
        case Type::Text: return "text";
        case Type::Object: return std::string_view(type.className) == "Collection" ? held : object(type);
        default: ADD_FAILURE() << "no property has this type"; return {};
        }
    }
    Variant object(const ValueType& type)
    {
        const ClassRow* row = findClass(type.className);
        return Variant(row->creatable ? fresh(*row) : hostObject(type.className));
    }

    std::vector<Variant> indexes(const MemberRow& member) const
    {
        return std::vector<Variant>(member.list.count, Variant(1));
    }
    static Variant use(Object& self, const MemberRow& member, InvokeKind kind, std::vector<Variant> arguments)
    {
        return invoke(self, member, kind, arguments);
    }
};

TEST_F(ClassTable, NamesAreUniqueAndFoundInAnyCase)
{
    std::map<std::string, int> classes;
    for (const ClassRow* type : classTable()) {
        SCOPED_TRACE(type->name);
        if (type->creatable) {
            EXPECT_EQ(++classes[type->name], 1);
            EXPECT_EQ(findClass(std::string("VARNEX3.") + type->name), type);
            EXPECT_FALSE(std::string_view(type->example).empty());
            EXPECT_TRUE(isPublished(*type));
        }
        for (std::size_t i = 0; i < type->members.size(); ++i) {
            const MemberRow& member = type->members[i];
            SCOPED_TRACE(member.name);
            std::string shouted = member.name;
            for (char& c : shouted)
                if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
            EXPECT_EQ(findMember(*type, shouted), static_cast<Long>(i + 1)); // the first of that name
            EXPECT_EQ(std::string_view(member.summary).back(), '.');
            bool optional = false; // no required argument follows an optional one
            for (const ArgumentRow& argument : member.arguments()) {
                EXPECT_TRUE(argument.optional || !optional) << argument.name;
                optional = argument.optional;
            }
        }
    }
    EXPECT_EQ(classes.size(), 17u);
}

TEST_F(ClassTable, CreatesEveryPublicClassByIdentifierAndNothingElse)
{
    for (const ClassRow* type : classTable()) {
        const std::string identifier = "varnex3." + std::string(type->name);
        if (type->creatable)
            EXPECT_EQ(classOf(*createObject(identifier)), type) << identifier;
        else
            expectRaises(errors::CannotCreate, [&] { createObject(identifier); });
    }
    for (const char* wrong : {"c_Goal", "varnex2.c_Goal", "varnex3.c_Gaol", "varnex3.", ""})
        expectRaises(errors::CannotCreate, [&] { createObject(wrong); });
}

TEST_F(ClassTable, ReadsEveryProperty)
{
    for (const ClassRow* type : classTable())
        for (const MemberRow& member : type->members) {
            // Collections begin empty, and no workbook is called "1".
            if (member.method || std::string_view(member.name) == "Item") continue;
            SCOPED_TRACE(std::string(type->name) + "." + member.name);
            const ObjectRef self = fresh(*type);
            const ErrorRecord error = raisedBy([&] {
                const Variant value = use(*self, member, InvokeKind::Read, indexes(member));
                const bool boolean = value.asBoolean() != nullptr, text = value.asText() != nullptr;
                EXPECT_EQ(boolean, member.type.type == Type::Boolean);
                EXPECT_EQ(text, member.type.type == Type::Text);
            });
            EXPECT_EQ(error.number, member.read ? 0 : errors::WriteOnly);
        }
}

TEST_F(ClassTable, WritesEveryPropertyAndReadsItBack)
{
    int written = 0;
    for (const ClassRow* type : classTable())
        for (const MemberRow& member : type->members) {
            if (member.method) continue;
            SCOPED_TRACE(std::string(type->name) + "." + member.name);
            const ObjectRef self = fresh(*type);
            std::vector<Variant> arguments = indexes(member);
            const Variant held = member.read && member.type.type == Type::Object && member.list.count == 0
                                     ? use(*self, member, InvokeKind::Read, arguments)
                                     : Variant();
            arguments.push_back(sample(member.type, held));
            const InvokeKind kind = member.byValue ? InvokeKind::Put : InvokeKind::PutRef;
            if (!member.write) {
                expectRaises(errors::ReadOnly, [&] { use(*self, member, InvokeKind::Put, arguments); });
                continue;
            }
            use(*self, member, kind, arguments);
            if (!member.read) continue;
            EXPECT_EQ(use(*self, member, InvokeKind::Read, indexes(member)), arguments.back());
            ++written;
            if (member.byValue && member.byReference) { // takes a cell, too
                arguments.back() = sheet.range("B2");
                use(*self, member, InvokeKind::PutRef, arguments);
                EXPECT_EQ(use(*self, member, InvokeKind::Read, indexes(member)), arguments.back());
            }
            if (!member.byValue) {
                arguments.back() = 1.0;
                expectRaises(errors::ReferenceOnly, [&] { use(*self, member, InvokeKind::Put, arguments); });
                expectRaises(errors::TypeMismatch,
                             [&] { use(*self, member, InvokeKind::PutRef, arguments); });
            }
        }
    EXPECT_GT(written, 90);
}

TEST_F(ClassTable, CountsTheArgumentsOfEveryMember)
{
    for (const ClassRow* type : classTable())
        for (const MemberRow& member : type->members) {
            if (!member.read) continue;
            SCOPED_TRACE(std::string(type->name) + "." + member.name);
            const ObjectRef self = fresh(*type);
            const bool handsOn = !member.method && member.list.count == 0 && member.type.type == Type::Object;
            if (!handsOn)
                expectRaises(errors::ArgumentCount, [&] {
                    use(*self, member, InvokeKind::Read,
                        std::vector<Variant>(member.list.count + 1, Variant(1)));
                });
            for (std::size_t i = 0; i < member.list.count; ++i) {
                if (member.list.rows[i].optional) continue;
                std::vector<Variant> arguments = indexes(member);
                arguments[i] = missingArgument();
                expectRaises(errors::ArgumentNotOptional,
                             [&] { use(*self, member, InvokeKind::Read, arguments); });
                arguments.resize(i);
                expectRaises(errors::ArgumentNotOptional,
                             [&] { use(*self, member, InvokeKind::Read, arguments); });
            }
        }
}

} // namespace
} // namespace varnex3::server
