/* nomain.c: a loadable shared object with a function but no entry point
   `main`, as a stray library in a plug-in folder would be. */
int relNoEntryPoint(int x)
{
  return x + 1;
}
