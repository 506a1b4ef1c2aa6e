// CommandProcs.cpp: the procedures of a command (see CommandProcs.h).
#include "view/CommandProcs.h"

#include "core/Callback.h"
#include "core/ExceptionFrames.h"

namespace folio::view {

namespace {

// Extensions' procedures run inside a host exception frame: a raise in one
// ends only that call (a query then answers its default).
bool askBool(const ProcBinding &binding, const std::function<bool()> &host, bool absent)
{
  if (host)
    return host();
  auto fn = callbackProc<FVComputeEnabledProc>(binding.proc);
  if (!fn)
    return absent;
  bool answer = absent;
  void *data = binding.data;
  auto call = [&] { answer = fn(data) != 0; };
  return callGuarded(call) ? answer : absent;
}

} // namespace

void CommandProcs::setExecuteProc(FSCallback proc, void *data)
{
  execute_ = {proc, data};
  hostExecute_ = nullptr;
}

void CommandProcs::setComputeEnabledProc(FSCallback proc, void *data)
{
  enabled_ = {proc, data};
  hostEnabled_ = nullptr;
}

void CommandProcs::setComputeMarkedProc(FSCallback proc, void *data)
{
  marked_ = {proc, data};
  hostMarked_ = nullptr;
}

bool CommandProcs::isEnabled() const
{
  return askBool(enabled_, hostEnabled_, true);
}

bool CommandProcs::isMarked() const
{
  return askBool(marked_, hostMarked_, false);
}

void CommandProcs::execute() const
{
  if (hostExecute_) {
    hostExecute_();
    return;
  }
  auto fn = callbackProc<FVExecuteProc>(execute_.proc);
  if (!fn)
    return;
  void *data = execute_.data;
  auto call = [&] { fn(data); };
  callGuarded(call);
}

} // namespace folio::view
