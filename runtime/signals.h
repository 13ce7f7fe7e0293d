#pragma once

// Installs the handler for SIGABRT, SIGFPE, SIGILL, SIGSEGV and SIGTERM and
// ignores SIGPIPE.  Returns false when the system refuses one of them.
bool install_signal_handlers();
