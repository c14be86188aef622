// formulation/c_Formulation.h - the whole problem: parameters, responses, constraints, goals, options.
#pragma once

#include <string>

#include "formulation/c_Constraint.h"
#include "formulation/c_Goal.h"
#include "formulation/c_Options.h"
#include "formulation/c_Parameter.h"
#include "formulation/c_Response.h"
#include "runtime/Array.h"
#include "runtime/Collection.h"

namespace varnex3 {

class c_Formulation : public Object {
public:
    static constexpr const char* SOURCEX = "Parameter";
    static constexpr const char* SOURCEY = "Response";
    static constexpr const char* SOURCEC = "Constraint";
    static constexpr const char* SOURCEG = "Goal";
    static constexpr const char* SOURCEO = "Options";

    c_Formulation();
    ~c_Formulation() override;

    // Replacing a collection leaves the counts as they are.
    Ref<KeyedCollection<c_Parameter>> Xs;
    Ref<KeyedCollection<c_Response>> Ys;
    Ref<KeyedCollection<c_Constraint>> Cs;
    Ref<KeyedCollection<c_Goal>> Gs;
    Ref<c_Options> Options;

    Long CountX() const { return countX_; }
    Long CountY() const { return countY_; }
    Long CountC() const { return countC_; }
    Long CountG() const { return countG_; }

    void AddX(const std::string& id);
    void AddY(const std::string& id);
    void AddC(const std::string& id);
    void AddG(const std::string& id);

    // By position 1..count (a number) or by key (a text); no object when there is none.
    Ref<c_Parameter> ItemX(const Variant& index) const;
    Ref<c_Response> ItemY(const Variant& index) const;
    Ref<c_Constraint> ItemC(const Variant& index) const;
    Ref<c_Goal> ItemG(const Variant& index) const;

    void RemoveX(const std::string& id);
    void RemoveY(const std::string& id);
    void RemoveC(const std::string& id);
    void RemoveG(const std::string& id);

    Long CalcSequence(Long i) const; // parameter written in place i; 0 outside 1..CountX
    void CalcSequence(Long i, Long value);
    bool RecalcFlags(Long i) const; // recalculate before parameter i is written; False outside
    void RecalcFlags(Long i, bool value);

    void Clear();

    /// Validates everything; the first problem goes to `source`, `itemNum` and `cause`.
    bool formulationOK(std::string& source, Long& itemNum, std::string& cause, bool showMessages = false);

private:
    bool inSequence(Long i) const;
    void sizeSequence();

    Long countX_ = 0, countY_ = 0, countC_ = 0, countG_ = 0;
    Array1<Long> calcSequence_;
    Array1<char> recalcFlags_; // 0 or 1 per parameter
};

} // namespace varnex3
