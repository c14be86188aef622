// runtime/Error.cpp - the error record of the thread and the trail that procedures leave in it.
#include "runtime/Error.h"

#include <exception>
#include <new>

namespace varnex3 {

ErrorRecord& err()
{
#ifdef _WIN32
    // A destructor that waits for the end of the thread would keep the library loaded until then.
    thread_local ErrorRecord* record = nullptr;
    if (!record) record = new ErrorRecord;
    return *record;
#else
    thread_local ErrorRecord record;
    return record;
#endif
}

std::string standardText(Long number)
{
    switch (number) {
    case errors::InvalidCall: return "Invalid procedure call or argument";
    case errors::Overflow: return "Overflow";
    case errors::OutOfMemory: return "Out of memory";
    case errors::Subscript: return "Subscript out of range";
    case errors::DivisionByZero: return "Division by zero";
    case errors::TypeMismatch: return "Type mismatch";
    case errors::UserInterrupt: return "User interrupt occurred";
    case errors::Internal: return "Internal error";
    case errors::ObjectNotSet: return "Object variable or With block variable not set";
    case errors::ReadOnly: return "Set not supported (read-only property)";
    case errors::WriteOnly: return "Get not supported (write-only property)";
    case errors::CannotCreate: return "Component can't create object";
    case errors::NoSuchMember: return "Object doesn't support this property or method";
    case errors::ArgumentNotOptional: return "Argument not optional";
    case errors::ArgumentCount: return "Wrong number of arguments or invalid property assignment";
    case errors::ReferenceOnly:
        return "Property let procedure not defined and property get procedure did not return an object";
    case errors::DuplicateKey: return "This key is already associated with an element of this collection";
    default: return "Application-defined or object-defined error";
    }
}

void raise(Long number, std::string source, std::string description)
{
    err() = {number, std::move(source), std::move(description)};
    throw Raised{};
}

void raise(Long number) { raise(number, kRuntimeSource, standardText(number)); }

void caught() { err() = {}; }

void adoptForeignException()
{
    try {
        throw;
    } catch (const Raised&) {
        return;
    } catch (const std::bad_alloc&) {
        err() = {errors::OutOfMemory, kRuntimeSource + err().source, standardText(errors::OutOfMemory)};
    } catch (const std::exception& e) {
        err() = {errors::Internal, kRuntimeSource + err().source,
                 standardText(errors::Internal) + ": " + e.what()};
    } catch (...) {
        err() = {errors::Internal, kRuntimeSource + err().source, standardText(errors::Internal)};
    }
}

Procedure::Procedure(const char* module, const char* name) noexcept
    : module_(module), name_(name), unwinding_(std::uncaught_exceptions())
{}

Procedure::~Procedure()
{
    if (std::uncaught_exceptions() > unwinding_) err().source += "\r\n" + trail();
}

std::string Procedure::trail() const
{
    return std::string("in varnex3.") + module_ + "." + name_ + " at line " + std::to_string(line_);
}

} // namespace varnex3
