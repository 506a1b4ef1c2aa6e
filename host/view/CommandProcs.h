// CommandProcs.h: the three procedures of a command (a menu item or a tool bar
// button): execute, compute-enabled and compute-marked. Each is either an
// extension's procedure (a callback and its client data, called through the
// callback inside a host exception frame) or a host function, which takes its
// place. Toolkit-free; the user-interface thread only.
#pragma once

#include <functional>

#include "folio/FolioTypes.h"

namespace folio::view {

// An extension's procedure: a callback and its client data.
struct ProcBinding {
  FSCallback proc = nullptr;
  void *data = nullptr;
};

class CommandProcs {
public:
  // An extension's procedures (callbacks of FVExecuteProc, FVComputeEnabledProc,
  // FVComputeMarkedProc); setting one drops the host function of that slot.
  void setExecuteProc(FSCallback proc, void *data);
  void setComputeEnabledProc(FSCallback proc, void *data);
  void setComputeMarkedProc(FSCallback proc, void *data);
  // The host's own procedures; they take the place of an extension's.
  void setHostExecute(std::function<void()> fn) { hostExecute_ = std::move(fn); }
  void setHostEnabled(std::function<bool()> fn) { hostEnabled_ = std::move(fn); }
  void setHostMarked(std::function<bool()> fn) { hostMarked_ = std::move(fn); }

  const ProcBinding &executeProc() const { return execute_; }
  const ProcBinding &enabledProc() const { return enabled_; }
  const ProcBinding &markedProc() const { return marked_; }

  // Enabled when there is no enabled procedure; not marked when there is no
  // marked one. A raise inside an extension's procedure answers that default.
  bool isEnabled() const;
  bool isMarked() const;
  // Runs the execute procedure, if any; a raise in it ends only that call.
  void execute() const;

private:
  ProcBinding execute_, enabled_, marked_;
  std::function<void()> hostExecute_;
  std::function<bool()> hostEnabled_, hostMarked_;
};

} // namespace folio::view
