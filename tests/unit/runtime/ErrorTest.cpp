// The record in flight: trails, probes, foreign exceptions, subscripts.
#include <gtest/gtest.h>

#include <stdexcept>

#include "runtime/Array.h"
#include "runtime/Collection.h"
#include "runtime/Error.h"

namespace varnex3 {
namespace {

void inner()
{
    Procedure here{"alg_m_Inner", "Inner"};
    here.at(3);
    raise(515, "Probe", "Non-numeric cell value");
}

void outer()
{
    Procedure here{"alg_m_Outer", "Outer"};
    attempt([] { raise(9); }); // a probe on the way leaves no trail
    inner();
}

TEST(Error, TrailGrowsInnermostFirst)
{
    try {
        outer();
        FAIL();
    } catch (const Raised&) {
        EXPECT_EQ(err().number, 515);
        EXPECT_EQ(err().source, "Probe\r\nin varnex3.alg_m_Inner.Inner at line 3\r\n"
                                "in varnex3.alg_m_Outer.Outer at line 0");
        EXPECT_EQ(err().description, "Non-numeric cell value");
        caught();
    }
    EXPECT_EQ(err().number, 0);
}

TEST(Error, ForeignExceptionKeepsTheTrail)
{
    try {
        Procedure here{"m", "p"};
        throw std::runtime_error("what happened");
    } catch (...) {
        adoptForeignException();
    }
    EXPECT_EQ(err().number, errors::Internal);
    EXPECT_NE(err().source.find("in varnex3.m.p at line 0"), std::string::npos);
    EXPECT_NE(err().description.find("what happened"), std::string::npos);
    caught();
}

Long numberRaisedBy(const auto& work)
{
    try {
        work();
    } catch (const Raised&) {
        const Long number = err().number;
        caught();
        return number;
    }
    return 0;
}

TEST(Arrays, CheckSubscriptsFromOne)
{
    Array2<double> a(2, 3);
    a(2, 3) = 5.0;
    EXPECT_EQ(numberRaisedBy([&] { a(0, 1) = 1.0; }), errors::Subscript);
    EXPECT_EQ(numberRaisedBy([&] { a(3, 1) = 1.0; }), errors::Subscript);
    EXPECT_EQ(numberRaisedBy([&] { a(1, 4) = 1.0; }), errors::Subscript);
    a.swapRows(1, 2);
    EXPECT_EQ(a(1, 3), 5.0);
    Array3<double> b(2, 2, 1);
    b(2, 1, 1) = 7.0;
    b.resizeLastKeep(3);
    EXPECT_EQ(b(2, 1, 1), 7.0);
    EXPECT_EQ(b(1, 2, 3), 0.0);
}

TEST(Collection, ReadsByPositionAndKey)
{
    struct Item : Object {};
    KeyedCollection<Item> items;
    const auto a = std::make_shared<Item>(), b = std::make_shared<Item>();
    items.Add(a, "a");
    items.Add(b, "b");
    EXPECT_EQ(items.Item("b"), items.Item(2));
    EXPECT_EQ(numberRaisedBy([&] { items.Add(a, "a"); }), errors::DuplicateKey);
    EXPECT_EQ(numberRaisedBy([&] { items.Item("c"); }), errors::InvalidCall);
    EXPECT_EQ(numberRaisedBy([&] { items.Item(3); }), errors::Subscript);
    items.Remove("a");
    EXPECT_EQ(items.Item(1), b);
    EXPECT_EQ(items.tryItem("a"), nullptr);
}

} // namespace
} // namespace varnex3
