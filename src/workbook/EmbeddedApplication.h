// workbook/EmbeddedApplication.h - the embedded host: workbooks over the engine in sheet/, without a
// spreadsheet program.
//
// Macros are functions that the driving program registers. Nothing is saved unless the driving program
// asks for it, and nothing asks the user. Errors are the host's: 1004 for a request refused, 9 for a workbook
// or sheet that is not there.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/interface/Host.h"
#include "sheet/model/Book.h"

namespace varnex3::workbook {

class EmbeddedBatch;
class EmbeddedWorkbook;
struct Session;

using Macro = std::function<Variant(std::span<const Variant>)>;

/// Make it with std::make_shared: the objects of its workbooks lead back to it.
class EmbeddedApplication final : public host::Application,
                                  public std::enable_shared_from_this<EmbeddedApplication> {
public:
    EmbeddedApplication();
    ~EmbeddedApplication() override;

    // host::Application
    void Calculate() override;
    Variant Run(const std::string& macro, std::span<const Variant> arguments = {}) override;
    bool ScreenUpdating() override;
    void ScreenUpdating(bool on) override;
    void StatusBar(const Variant& text) override;
    /// Automatic: a cell read after a write is up to date. Manual: only after Calculate. The first
    /// workbook opened brings its own mode along.
    Long Calculation() override;
    void Calculation(Long mode) override;
    void EnableEvents(bool on) override;
    void DisplayAlerts(bool on) override;
    Ref<host::Workbook> ActiveWorkbook() override;
    Ref<host::Workbooks> Workbooks() override;
    std::string Version() override; // "Corvane 0.1.0"
    std::string OperatingSystem() override;
    /// For single cells of the only open workbook when nothing waits for recalculation; see
    /// sheet/model/Trials.h.
    Ref<host::Batch> Trials(std::span<const Ref<host::Range>> inputs,
                            std::span<const Ref<host::Range>> outputs) override;
    /// How many threads work out the trials of a batch; at first one for each processor.
    void threads(unsigned count) { threads_ = count > 0 ? count : 1; }

    /// Opens a file; the workbook becomes the active one. Raises 1004 with the reader's message, or when
    /// a workbook of that file name is open already.
    Ref<host::Workbook> open(const std::string& path);

    /// Saves a workbook of this host as a file, which may be the one it was opened from. What was not
    /// touched stays as it is in that file; see sheet/xlsx/Writer.h. Brings formulas up to date before
    /// when the mode is automatic. The workbook keeps its name, and later saves start from its own file.
    /// Raises 1004 with the reason, also when the file has changed on disk since it was opened; 5 for a
    /// workbook of another host.
    void save(host::Workbook& workbook, const std::string& path);

    /// The cells that a text refers to: "Sheet1!B3", "'My Sheet'!$B$3:C4", "[Book1.xlsx]Sheet1!B3", a
    /// defined name, or "B3" on the active sheet. Seen from the active workbook unless it names one.
    /// Raises 1004 saying which part of the text is wrong.
    Ref<host::Range> range(const std::string& reference);

    /// Makes `Run` find a macro by that name, without regard to case; replaces one of the same name.
    void registerMacro(const std::string& name, Macro macro);

    /// What a cell holds, for messages: 2.5, "text", TRUE, #DIV/0!, or "nothing".
    std::string shownText(host::Range& cell);

    /// The engine's book behind a workbook of this host; raises 5 for a workbook of another.
    sheet::Book& book(host::Workbook& workbook);

    /// Calls of Calculate and trials of batches so far: the work that an analysis has spent.
    long long calculations() const { return calculations_; }
    /// Counts trials of a batch as calculations.
    void countTrials(Long trials) { calculations_ += trials; }

    // What was last put; hosts offer no way to read these back.
    const Variant& statusBar() const;
    bool enableEvents() const;
    bool displayAlerts() const;
    /// The cells selected last, no object when there are none.
    Ref<host::Range> selection() const;

    // For the objects of this folder.
    const std::vector<Ref<EmbeddedWorkbook>>& openWorkbooks() const { return workbooks_; }
    Ref<EmbeddedWorkbook> findWorkbook(const std::string& name) const; // no object when there is none
    Ref<EmbeddedWorkbook> addWorkbook();
    void activate(Ref<EmbeddedWorkbook> workbook) { active_ = std::move(workbook); }
    void select(Ref<host::Range> cells) { selection_ = std::move(cells); }

private:
    Ref<EmbeddedWorkbook> admit(std::string name, std::unique_ptr<sheet::Book> book);
    EmbeddedWorkbook& own(host::Workbook& workbook) const;

    std::shared_ptr<Session> session_;
    std::vector<Ref<EmbeddedWorkbook>> workbooks_;
    Ref<EmbeddedWorkbook> active_;
    Ref<host::Range> selection_;
    std::map<std::string, Macro> macros_; // by lower-case name
    Variant statusBar_;
    bool screenUpdating_ = true;
    bool enableEvents_ = true;
    bool displayAlerts_ = true;
    long long calculations_ = 0;
    unsigned threads_;
    Ref<EmbeddedBatch> batch_; // the last one, for the next who wants the same
    int added_ = 0;            // workbooks made by Add so far
};

} // namespace varnex3::workbook
