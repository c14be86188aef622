// formulation/c_Formulation.cpp - the items of a problem: adding, finding, removing, validating.
#include "formulation/c_Formulation.h"

#include <algorithm>
#include <memory>

#include "runtime/Number.h"
#include "ui/interface/UserInterface.h"

namespace varnex3 {
namespace {

constexpr const char* kTitle = "Corvane";

template <class Item>
using Items = Ref<KeyedCollection<Item>>;

template <class Item>
void add(const Items<Item>& items, const std::string& id, Long& count)
{
    if (id.empty()) return;
    auto item = std::make_shared<Item>();
    item->id = id;
    required(items).Add(std::move(item), id);
    ++count;
}

template <class Item>
void remove(const Items<Item>& items, const std::string& id, Long& count)
{
    if (id.empty()) return;
    required(items).Remove(id);
    --count;
}

template <class Item>
Ref<Item> find(const Items<Item>& items, const Variant& index)
{
    if (!items) return nullptr;
    if (const std::string* key = index.asText()) return items->tryItem(*key);
    Ref<Item> found;
    attempt([&] { found = items->tryItem(toLong(index)); });
    return found;
}

/// What formulationOK fills in, and whether it also tells the user.
struct Report {
    std::string& source;
    Long& itemNum;
    std::string& cause;
    bool showMessages;

    bool fail(const std::string& message) const
    {
        if (showMessages) ui::showMessage(message, kTitle);
        return false;
    }
    bool failAlone(const char* reason) const
    {
        cause = reason;
        return fail(cause);
    }
};

/// Validates items 1..count in order; stops at the first problem. `letter` names the kind to the user.
template <class Item>
bool itemsPass(const Items<Item>& items, Long count, bool (Item::*isOK)(std::string&), const char* sourceName,
               const char* letter, const Report& report)
{
    for (Long i : oneTo(count)) {
        const Ref<Item> item = items ? items->tryItem(i) : nullptr;
        if (!item)
            report.cause = standardText(errors::Subscript); // the collection was replaced by a shorter one
        if (item && ((*item).*isOK)(report.cause)) continue;
        report.source = sourceName;
        report.itemNum = i;
        return report.fail(report.cause + " for " + letter + " " + std::to_string(i));
    }
    return true;
}

bool optionsPass(const Ref<c_Options>& options, const Report& report)
{
    if (!options) report.cause = standardText(errors::ObjectNotSet);
    if (options && options->OptionsOK(report.cause)) return true;
    report.source = c_Formulation::SOURCEO;
    return report.fail(report.cause);
}

} // namespace

c_Formulation::c_Formulation()
    : Xs(std::make_shared<KeyedCollection<c_Parameter>>()),
      Ys(std::make_shared<KeyedCollection<c_Response>>()),
      Cs(std::make_shared<KeyedCollection<c_Constraint>>()), Gs(std::make_shared<KeyedCollection<c_Goal>>()),
      Options(std::make_shared<c_Options>())
{}

c_Formulation::~c_Formulation() { Clear(); }

void c_Formulation::AddX(const std::string& id)
{
    add(Xs, id, countX_);
    sizeSequence();
}
void c_Formulation::AddY(const std::string& id) { add(Ys, id, countY_); }
void c_Formulation::AddC(const std::string& id) { add(Cs, id, countC_); }
void c_Formulation::AddG(const std::string& id) { add(Gs, id, countG_); }

Ref<c_Parameter> c_Formulation::ItemX(const Variant& index) const { return find(Xs, index); }
Ref<c_Response> c_Formulation::ItemY(const Variant& index) const { return find(Ys, index); }
Ref<c_Constraint> c_Formulation::ItemC(const Variant& index) const { return find(Cs, index); }
Ref<c_Goal> c_Formulation::ItemG(const Variant& index) const { return find(Gs, index); }

void c_Formulation::RemoveX(const std::string& id)
{
    remove(Xs, id, countX_);
    sizeSequence();
}
void c_Formulation::RemoveY(const std::string& id) { remove(Ys, id, countY_); }
void c_Formulation::RemoveC(const std::string& id) { remove(Cs, id, countC_); }
void c_Formulation::RemoveG(const std::string& id) { remove(Gs, id, countG_); }

Long c_Formulation::CalcSequence(Long i) const { return inSequence(i) ? calcSequence_(i) : 0; }
void c_Formulation::CalcSequence(Long i, Long value)
{
    if (inSequence(i)) calcSequence_(i) = value;
}

bool c_Formulation::RecalcFlags(Long i) const { return inSequence(i) && recalcFlags_(i) != 0; }
void c_Formulation::RecalcFlags(Long i, bool value)
{
    if (inSequence(i)) recalcFlags_(i) = value ? 1 : 0;
}

bool c_Formulation::inSequence(Long i) const { return i >= 1 && i <= calcSequence_.size(); }

/// One entry per parameter: new ones are 0 and False, a removed one goes from the end, whichever
/// parameter was removed.
void c_Formulation::sizeSequence()
{
    const Long entries = std::max<Long>(countX_, 0); // removing from a replaced collection may pass 0
    calcSequence_.resizeKeep(entries);
    recalcFlags_.resizeKeep(entries);
}

void c_Formulation::Clear()
{
    Xs.reset();
    Ys.reset();
    Cs.reset();
    Gs.reset();
    Options.reset();
    calcSequence_.clear();
    recalcFlags_.clear();
}

/// Checks that there is something to solve, then every item, then the options; stops at the first problem.
///
/// @param source        kind of the item at fault, SOURCEX to SOURCEO; else as it was
/// @param itemNum       its number; as it was for the options
/// @param cause         the problem, empty when there is none
/// @param showMessages  tell the user in a message box, too
bool c_Formulation::formulationOK(std::string& source, Long& itemNum, std::string& cause, bool showMessages)
{
    const Report report{source, itemNum, cause, showMessages};
    if (countX_ < 1) return report.failAlone("Please define at least one parameter.");
    if (countY_ < 1) return report.failAlone("Please define at least one response.");
    if (countC_ < 1 && countG_ < 1)
        return report.failAlone(
            "At least one constraint or goal must be defined and enabled for an optimization "
            "to be performed.");
    return itemsPass(Xs, countX_, &c_Parameter::XisOK, SOURCEX, "X", report) &&
           itemsPass(Ys, countY_, &c_Response::YisOK, SOURCEY, "Y", report) &&
           itemsPass(Cs, countC_, &c_Constraint::ConstraintOK, SOURCEC, "Constraint", report) &&
           itemsPass(Gs, countG_, &c_Goal::goalOK, SOURCEG, "Goal", report) && optionsPass(Options, report);
}

} // namespace varnex3
