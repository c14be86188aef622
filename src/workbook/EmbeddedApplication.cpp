// workbook/EmbeddedApplication.cpp - the application object of the embedded host.
#include "workbook/EmbeddedApplication.h"

#include <algorithm>
#include <filesystem>
#include <thread>

#include <sys/utsname.h>

#include "runtime/Number.h"
#include "sheet/files/Open.h"
#include "sheet/format/Convert.h"
#include "sheet/xlsx/Writer.h"
#include "workbook/Batch.h"
#include "workbook/Convert.h"
#include "workbook/Reference.h"
#include "workbook/Workbook.h"

namespace varnex3::workbook {

namespace {

constexpr std::size_t kMostMacroArguments = 30;

// Names of macros and files; letters beyond ASCII count as they are written.
std::string lowerCase(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

struct MacroName {
    std::string workbook; // empty: any
    std::string name;
    bool qualified = false;
};

// "Book1.xlsx!Name", "'Book 1.xlsx'!Name" or "Name".
MacroName macroName(const std::string& text)
{
    const std::size_t bang = text.rfind('!');
    if (bang == std::string::npos) return {"", text, false};
    std::string workbook = text.substr(0, bang);
    if (workbook.size() >= 2 && workbook.front() == '\'' && workbook.back() == '\'') {
        std::string inner;
        for (std::size_t i = 1; i + 1 < workbook.size(); ++i) {
            inner.push_back(workbook[i]);
            if (workbook.compare(i, 2, "''") == 0) ++i;
        }
        workbook = inner;
    }
    return {workbook, text.substr(bang + 1), true};
}

} // namespace

EmbeddedApplication::EmbeddedApplication()
    : session_(std::make_shared<Session>()), statusBar_(false),
      threads_(std::max(1U, std::thread::hardware_concurrency()))
{}
EmbeddedApplication::~EmbeddedApplication() = default;

void EmbeddedApplication::Calculate()
{
    ++calculations_;
    for (const Ref<EmbeddedWorkbook>& workbook : workbooks_) workbook->calculate();
}

Variant EmbeddedApplication::Run(const std::string& macro, std::span<const Variant> arguments)
{
    const std::string failure = "Cannot run the macro \"" + macro + "\": ";
    if (arguments.size() > kMostMacroArguments) refuse(failure + "it would get more than 30 arguments");
    const MacroName wanted = macroName(macro);
    if (wanted.qualified && !findWorkbook(wanted.workbook))
        refuse(failure + "no workbook \"" + wanted.workbook + "\" is open");
    const auto found = macros_.find(lowerCase(wanted.name));
    if (found == macros_.end()) refuse(failure + "there is no macro of that name");
    const Macro body = found->second; // a macro may register another in its place
    return body(arguments);
}

bool EmbeddedApplication::ScreenUpdating() { return screenUpdating_; }
void EmbeddedApplication::ScreenUpdating(bool on) { screenUpdating_ = on; }
void EmbeddedApplication::StatusBar(const Variant& text) { statusBar_ = text; }
void EmbeddedApplication::EnableEvents(bool on) { enableEvents_ = on; }
void EmbeddedApplication::DisplayAlerts(bool on) { displayAlerts_ = on; }
const Variant& EmbeddedApplication::statusBar() const { return statusBar_; }
bool EmbeddedApplication::enableEvents() const { return enableEvents_; }
bool EmbeddedApplication::displayAlerts() const { return displayAlerts_; }
Ref<host::Range> EmbeddedApplication::selection() const { return selection_; }

Long EmbeddedApplication::Calculation()
{
    return session_->automatic ? host::kCalculationAutomatic : host::kCalculationManual;
}

void EmbeddedApplication::Calculation(Long mode)
{
    if (mode != host::kCalculationAutomatic && mode != host::kCalculationManual)
        refuse("there is no calculation mode " + std::to_string(mode));
    session_->automatic = mode == host::kCalculationAutomatic;
}

Ref<host::Workbook> EmbeddedApplication::ActiveWorkbook()
{
    if (!active_) raise(errors::ObjectNotSet);
    return active_;
}

Ref<host::Workbooks> EmbeddedApplication::Workbooks()
{
    return std::make_shared<EmbeddedWorkbooks>(shared_from_this());
}

std::string EmbeddedApplication::Version() { return "Corvane " CORVANE_VERSION; }

std::string EmbeddedApplication::OperatingSystem()
{
    utsname system{};
    if (uname(&system) != 0) return "Unknown";
    return std::string(system.sysname) + " " + system.release + " " + system.machine;
}

Ref<host::Batch> EmbeddedApplication::Trials(std::span<const Ref<host::Range>> inputs,
                                             std::span<const Ref<host::Range>> outputs)
{
    if (workbooks_.size() != 1) return {};
    const auto cells = EmbeddedBatch::cellsOf(*workbooks_.front(), inputs, outputs);
    if (!cells) return {};
    if (!batch_ || !batch_->isFor(*workbooks_.front(), *cells, threads_))
        batch_ = EmbeddedBatch::make(weak_from_this(), workbooks_.front(), *cells, threads_);
    return batch_;
}

Ref<host::Workbook> EmbeddedApplication::open(const std::string& path)
{
    const std::filesystem::path file(path);
    const std::string name = file.filename().string();
    if (findWorkbook(name)) refuse("a workbook called \"" + name + "\" is open already");
    auto book = std::make_unique<sheet::Book>();
    FileStamp stamp = stampOf(path);
    asked([&] {
        auto kind = sheet::FileKind::Workbook;
        try {
            kind = sheet::openFile(path, book->builder());
        } catch (const sheet::FileError& error) {
            refuse(error.what());
        }
        book->finishLoading();
        if (kind == sheet::FileKind::Workbook) return;
        book->forgetFile(); // it is saved as a new .xlsx, or not at all
        stamp = {};
    });
    std::error_code code;
    const std::filesystem::path absolute = std::filesystem::absolute(file, code);
    book->setPath(code ? path : absolute.string());
    if (workbooks_.empty()) session_->automatic = !book->settings().manual;
    Ref<EmbeddedWorkbook> opened = admit(name, std::move(book));
    opened->file(stamp);
    return opened;
}

void EmbeddedApplication::save(host::Workbook& workbook, const std::string& path)
{
    EmbeddedWorkbook& saved = own(workbook);
    const sheet::Book& book = saved.currentBook();
    const FileStamp& source = saved.file();
    if (!source.path.empty() && stampOf(source.path) != source)
        refuse("the file " + source.path + " has changed since it was opened; open it again");
    try {
        sheet::saveWorkbook(book, source.path, path);
    } catch (const sheet::FileError& error) {
        refuse(error.what());
    }
    std::error_code code;
    if (source.path.empty() || !std::filesystem::equivalent(source.path, path, code)) return;
    saved.book().markSaved();
    saved.file(stampOf(source.path));
}

Ref<EmbeddedWorkbook> EmbeddedApplication::admit(std::string name, std::unique_ptr<sheet::Book> book)
{
    session_->application = weak_from_this();
    active_ = std::make_shared<EmbeddedWorkbook>(session_, std::move(name), std::move(book));
    workbooks_.push_back(active_);
    return active_;
}

Ref<EmbeddedWorkbook> EmbeddedApplication::addWorkbook()
{
    do ++added_;
    while (findWorkbook("Book" + std::to_string(added_)));
    auto book = std::make_unique<sheet::Book>();
    asked([&] { book->addSheet("Sheet1"); });
    return admit("Book" + std::to_string(added_), std::move(book));
}

Ref<EmbeddedWorkbook> EmbeddedApplication::findWorkbook(const std::string& name) const
{
    for (const Ref<EmbeddedWorkbook>& workbook : workbooks_)
        if (sheet::equalTexts(workbook->Name(), name)) return workbook;
    return nullptr;
}

Ref<host::Range> EmbeddedApplication::range(const std::string& reference)
{
    return resolveReference(*this, reference);
}

void EmbeddedApplication::registerMacro(const std::string& name, Macro macro)
{
    macros_[lowerCase(name)] = std::move(macro);
}

std::string EmbeddedApplication::shownText(host::Range& cell)
{
    const Variant value = cell.Value();
    return std::visit(overloaded{
                          [](Empty) { return std::string("nothing"); },
                          [](double x) { return toText(x); },
                          [](bool b) { return std::string(b ? "TRUE" : "FALSE"); },
                          [](const std::string& text) { return "\"" + text + "\""; },
                          [](ErrorValue error) { return std::string(sheet::failureText(failureOf(error))); },
                          [](const auto&) { return std::string("several values"); },
                      },
                      value.held());
}

EmbeddedWorkbook& EmbeddedApplication::own(host::Workbook& workbook) const
{
    auto* found = dynamic_cast<EmbeddedWorkbook*>(&workbook);
    if (!found) raise(errors::InvalidCall);
    return *found;
}

sheet::Book& EmbeddedApplication::book(host::Workbook& workbook) { return own(workbook).book(); }

} // namespace varnex3::workbook
