// bench/PlainHost.h - a host whose workbook is a row of doubles and whose formulas are a C++ function.
//
// The yardstick: what a run costs when recalculation is as cheap as compiled code can make it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/interface/Host.h"
#include "runtime/Number.h"

namespace varnex3::bench {

/// Cells 1..n in one row of one sheet; `calculate` reads and writes them.
class PlainApplication final : public host::Application,
                               public std::enable_shared_from_this<PlainApplication> {
public:
    using Formulas = std::function<void(std::vector<double>&)>;

    PlainApplication(std::vector<double> cells, Formulas calculate)
        : cells_(std::move(cells)), calculate_(std::move(calculate))
    {}

    void Calculate() override { calculate_(cells_); }
    Variant Run(const std::string&, std::span<const Variant>) override { return {}; }
    bool ScreenUpdating() override { return true; }
    void ScreenUpdating(bool) override {}
    void StatusBar(const Variant&) override {}
    Long Calculation() override { return host::kCalculationManual; }
    void Calculation(Long) override {}
    void EnableEvents(bool) override {}
    void DisplayAlerts(bool) override {}
    Ref<host::Workbook> ActiveWorkbook() override { raise(errors::HostFailure); }
    Ref<host::Workbooks> Workbooks() override { raise(errors::HostFailure); }
    std::string Version() override { return "plain"; }
    std::string OperatingSystem() override { return "plain"; }

    Ref<host::Range> cell(Long number);
    double& value(Long number) { return cells_[static_cast<std::size_t>(number - 1)]; }

private:
    std::vector<double> cells_;
    Formulas calculate_;
};

class PlainWorkbook final : public host::Workbook {
public:
    std::string Name() override { return "plain"; }
    void Activate() override {}
    Ref<host::Worksheet> Worksheets(const std::string&) override { raise(errors::HostFailure); }
    Long SheetCount() override { return 1; }
    Ref<host::Worksheet> Worksheets(Long) override { raise(errors::HostFailure); }
    Ref<host::Worksheet> AddWorksheet() override { raise(errors::HostFailure); }
};

class PlainWorksheet final : public host::Worksheet {
public:
    std::string Name() override { return "plain"; }
    void Name(const std::string&) override {}
    Ref<host::Workbook> Parent() override { return std::make_shared<PlainWorkbook>(); }
    void Activate() override {}
    void Delete() override {}
    Ref<host::Range> Cells(Long, Long) override { raise(errors::HostFailure); }
    void Cells(Long, Long, const Variant&) override {}
};

class PlainRange final : public host::Range {
public:
    PlainRange(Ref<PlainApplication> application, Long number)
        : application_(std::move(application)), number_(number)
    {}

    Variant Value() override { return application_->value(number_); }
    void Value(const Variant& v) override { application_->value(number_) = toDouble(v); }
    std::string Formula() override { return toText(application_->value(number_)); }
    void Formula(const std::string&) override {}
    std::string Address() override { return "$A$" + std::to_string(number_); }
    Long Count() override { return 1; }
    Ref<host::Worksheet> Worksheet() override { return std::make_shared<PlainWorksheet>(); }
    bool HasFormula() override { return false; }
    void Select() override {}
    Ref<host::Application> Application() override { return application_; }

private:
    Ref<PlainApplication> application_;
    Long number_;
};

inline Ref<host::Range> PlainApplication::cell(Long number)
{
    return std::make_shared<PlainRange>(shared_from_this(), number);
}

} // namespace varnex3::bench
