// sheet/exec/TypedProgram.cpp - calls of worksheet functions by typed code.
#include "sheet/exec/TypedProgram.h"

#include <array>
#include <limits>

namespace varnex3::sheet {

double TypedBody::operator()(double x, double y, double z) const
{
    const double operands[] = {x, y, z};
    std::array<Value, kMost> values;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const Argument& argument = arguments[i];
        if (argument.operand < 0) {
            values[i] = argument.constant;
            continue;
        }
        const double number = operands[argument.operand];
        values[i] = argument.isBoolean ? Value(number != 0.0) : Value(number);
    }
    Call call(*environment, {}, *row, {values.data(), arguments.size()});
    const Value result = row->body.call(call);
    return result.isNumber() ? result.number() : std::numeric_limits<double>::quiet_NaN();
}

} // namespace varnex3::sheet
