// server/ScriptedHost.h - a spreadsheet host made of late-bound objects handed in from outside.
//
// Members go by the host's own names. A workbook's sheets are the collection `Worksheets` with Item, Count
// and Add; `Cells(row, column)` takes its indexes directly.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "host/interface/Host.h"
#include "runtime/LateBound.h"

namespace varnex3::server {

/// A late-bound object with its members by name.
class Outside {
public:
    explicit Outside(Ref<LateBound> object) : object_(std::move(object)) {}

    const Ref<LateBound>& object() const { return object_; }

    template <class... A>
    Variant read(std::string_view name, A&&... arguments) const
    {
        if constexpr (sizeof...(A) == 0) {
            return object_->invoke(name, InvokeKind::Read, {});
        } else {
            Variant list[] = {Variant(std::forward<A>(arguments))...};
            return object_->invoke(name, InvokeKind::Read, list);
        }
    }
    void put(std::string_view name, Variant value) const
    {
        object_->invoke(name, InvokeKind::Put, {&value, 1});
    }

private:
    Ref<LateBound> object_;
};

/// Beside host interfaces: what stands behind an object of this file.
class Scripted {
public:
    virtual ~Scripted() = default;
    explicit Scripted(Ref<LateBound> outside) : outside_(std::move(outside)) {}
    const Ref<LateBound>& behind() const { return outside_.object(); }

protected:
    Outside outside_;
};

class ScriptedApplication final : public host::Application, public Scripted {
public:
    using Scripted::Scripted;

    void Calculate() override;
    /// A host whose Run refuses the number of arguments is given the name and an array of them: scripts
    /// have no functions of any number of arguments.
    Variant Run(const std::string& macro, std::span<const Variant> arguments = {}) override;
    bool ScreenUpdating() override;
    void ScreenUpdating(bool on) override;
    void StatusBar(const Variant& text) override;
    Long Calculation() override;
    void Calculation(Long mode) override;
    void EnableEvents(bool on) override;
    void DisplayAlerts(bool on) override;
    Ref<host::Workbook> ActiveWorkbook() override;
    Ref<host::Workbooks> Workbooks() override;
    std::string Version() override;
    std::string OperatingSystem() override;

private:
    bool takesList_ = false; // Run is known to want an array
};

class ScriptedWorkbooks final : public host::Workbooks, public Scripted {
public:
    using Scripted::Scripted;

    Ref<host::Workbook> Item(const std::string& name) override;
    Ref<host::Workbook> Add() override;
};

class ScriptedWorkbook final : public host::Workbook, public Scripted {
public:
    using Scripted::Scripted;

    std::string Name() override;
    void Activate() override;
    Ref<host::Worksheet> Worksheets(const std::string& name) override;
    Long SheetCount() override;
    Ref<host::Worksheet> Worksheets(Long index) override;
    Ref<host::Worksheet> AddWorksheet() override;

private:
    Outside sheets() const;
};

class ScriptedWorksheet final : public host::Worksheet, public Scripted {
public:
    using Scripted::Scripted;

    std::string Name() override;
    void Name(const std::string& name) override;
    Ref<host::Workbook> Parent() override;
    void Activate() override;
    void Delete() override;
    Ref<host::Range> Cells(Long row, Long column) override;
    void Cells(Long row, Long column, const Variant& value) override;
};

/// Keeps the numbers of the members that every evaluation uses.
class ScriptedRange final : public host::Range, public Scripted {
public:
    using Scripted::Scripted;

    Variant Value() override;
    void Value(const Variant& value) override;
    std::string Formula() override;
    void Formula(const std::string& content) override;
    std::string Address() override;
    Long Count() override;
    Ref<host::Worksheet> Worksheet() override;
    bool HasFormula() override;
    void Select() override;
    Ref<host::Application> Application() override;

private:
    Long valueMember();
    std::optional<Long> valueMember_;
};

} // namespace varnex3::server
