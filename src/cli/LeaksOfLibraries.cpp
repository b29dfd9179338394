/// Read by the leak sanitizer. A connection to a session bus that cannot be reached is never released by the library
/// through which Qt opens it; and Qt drops the call that it is answering when that call, a choice in the icon's menu,
/// ends the program.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's name
  return "leak:libdbus-1.so\nleak:libQt6DBus.so\n";
}
