// host/TrialsAhead.cpp - asking the host, and how far to go ahead.
#include "host/TrialsAhead.h"

#include <algorithm>
#include <chrono>

#include "host/alg_m_XLinterface.h"

namespace varnex3 {
namespace {

constexpr Long kFewest = 64;
constexpr Long kMost = 4096;
constexpr Long kMostRefusals = 8;                        // then cell by cell to the end
constexpr auto kLongest = std::chrono::milliseconds(50); // a cancel is noticed between

} // namespace

bool TrialsAhead::open(host::Application& application, const Cells& inputs, const Cells& outputs,
                       const Cells& fixed)
{
    const alg_m_XLinterface::HostState& state = alg_m_XLinterface::hostState();
    batch_ = nullptr;
    held_ = 0;
    if (!state.beforeMacro.empty() || !state.afterMacro.empty() || inputs.empty()) return false;
    attempt([&] {
        batch_ = application.Trials(inputs, outputs);
        if (!batch_) return;
        for (const Ref<host::Range>& cell : fixed)
            if (batch_ && !batch_->IsFixed(*cell)) batch_ = nullptr;
    });
    wide_ = inputs.size();
    narrow_ = outputs.size();
    ahead_ = kFewest;
    refused_ = 0;
    return isOpen();
}

void TrialsAhead::begin(Long first, Long last)
{
    first_ = first;
    held_ = 0;
    wanted_ = std::min(ahead_, last - first + 1);
    inputs_.resize(static_cast<std::size_t>(wanted_) * wide_);
    outputs_.resize(static_cast<std::size_t>(wanted_) * narrow_);
}

void TrialsAhead::run()
{
    const auto count = static_cast<std::size_t>(wanted_);
    const auto start = std::chrono::steady_clock::now();
    attempt([&] {
        held_ =
            batch_->Run(std::span(inputs_).first(count * wide_), std::span(outputs_).first(count * narrow_));
    });
    const bool quick = std::chrono::steady_clock::now() - start < kLongest;
    ahead_ = held_ < wanted_ || !quick ? std::max(kFewest, ahead_ / 2) : std::min(kMost, 2 * ahead_);
    refused_ = held_ > 0 || wanted_ == 0 ? 0 : refused_ + 1;
    if (refused_ == kMostRefusals) batch_ = nullptr;
}

} // namespace varnex3
