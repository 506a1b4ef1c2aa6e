/* broken_plugin.c: a shared object that looks like a plug-in by its name and
 * place but has no entry point `main`; the host must report it and go on. */
int brokenPluginMarker(void)
{
  return 42;
}
