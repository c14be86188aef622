// tests/support/Expect.h - expectations on errors, and a fixture that starts and ends with clean process
// state.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/alg_m_XLinterface.h"
#include "runtime/Error.h"
#include "runtime/Seeds.h"
#include "support/FakeHost.h"
#include "support/ScriptedUi.h"
#include "ui/Windows.h"

namespace varnex3::test {

using Lines = std::vector<std::string>;

/// The error that `work` raises, cleared from the thread; number 0 when it raises none.
template <class F>
ErrorRecord raisedBy(F&& work)
{
    try {
        work();
    } catch (...) {
        adoptForeignException();
        ErrorRecord record = err();
        caught();
        return record;
    }
    return {};
}

template <class F>
void expectRaises(Long number, F&& work)
{
    EXPECT_EQ(raisedBy(work).number, number);
}

template <class F>
void expectRaises(Long number, const std::string& source, const std::string& description, F&& work)
{
    const ErrorRecord record = raisedBy(work);
    EXPECT_EQ(record.number, number);
    EXPECT_EQ(record.source, source);
    EXPECT_EQ(record.description, description);
}

/// A host, a user, and fresh host state, windows and seeds around every test.
class LibraryTest : public testing::Test {
protected:
    LibraryTest() { reset(); }
    ~LibraryTest() override { reset(); }

    Ref<FakeHost> host = FakeHost::create();
    FakeSheet& sheet = host->sheet();
    ScriptedUi user;

private:
    static void reset()
    {
        alg_m_XLinterface::hostState() = {};
        statusWindow() = {};
        monteCarloStatusWindow() = {};
        errorWindow() = {};
        setSeedSource({});
        caught();
    }
};

} // namespace varnex3::test
