// main.cpp: the folio program. Everything is in the job.
#include "Job.h"

int main(int argc, char **argv)
{
  return folio::app::Job(argc, argv).run();
}
