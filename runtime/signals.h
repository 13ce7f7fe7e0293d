#pragma once

// Installs the handler for SIGABRT, SIGFPE, SIGILL, SIGSEGV, SIGTERM and SIGBUS and
// ignores SIGPIPE.  Returns false when the system refuses one of them.
bool install_signal_handlers();
