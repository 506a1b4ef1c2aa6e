// main.cpp: the folio program. Everything is in the job.
#include "app/Job.h"
#include "core/Guard.h"

int main(int argc, char **argv)
{
  // The last line of defence: nothing leaves main as an exception (the job
  // guards its own run; this covers making and destroying it).
  return folio::guardCall(
      int(folio::app::kExitRunFailed), [&] { return folio::app::Job(argc, argv).run(); },
      folio::app::reportFailure);
}
