// Whether a desktop session is up.
#pragma once

/// True when some process's command line, up to the first blank inside an argument, contains
/// "KALLO", the desktop's process name. Reads /proc (proc(5)) until it finds one. Any thread.
bool isDesktopRunning();
