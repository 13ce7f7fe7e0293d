// The streams (FILE*) that the toolbox hands out, over the handles of the
// system interface: every fprintf and fwrite of the program reaches the
// system through `os()`, so a failure of the system reaches every writer.
//
// A stream remembers the first write that failed; from then on every write
// to it fails with the same error, so that no later write lands behind a
// gap.  `close` says what went wrong, once.
//
// A file written whole (`whole`) never leaves a half-written file in place
// of a good one: when a regular file of that name exists, the text goes to
// a sibling "<name>.~<n>" that replaces the file only when the stream is
// closed with every write done.  A file that did not exist is written in
// place and removed again when a write failed.  A symbolic link is followed
// to the file it names; a name that is not a regular file (a device) is
// written in place.
#pragma once

#include <cstdio>
#include <string>

// A file written whole, as a handle: `open` gives the handle to write to,
// `finish` puts the file in place, or leaves the old one as it was.
class whole_file {
 public:
  whole_file() = default;
  ~whole_file();  // an unfinished file is abandoned: the old one stays
  whole_file(const whole_file&) = delete;
  whole_file& operator=(const whole_file&) = delete;

  // Opens `path` for writing and reading.  With `probe`, an existing file
  // that may not be written refuses, as a write in place would; without,
  // it is replaced.  -1 with errno set when nothing can be written.
  int open(const std::string& path, bool probe);
  // Closes the handle.  With `ok` the text replaces the old file; without,
  // the old file stays and a new one is removed.  Returns 0 or the errno of
  // what failed (the close, the rename).
  int finish(bool ok);
  int fd() const { return fd_; }

 private:
  int fd_ = -1;
  std::string final_, temp_;  // the file's place, and the sibling written instead
  bool new_file_ = false;
};

namespace os_stream {

// A stream over `fd` (which it takes over) with stdio's `mode` ("r", "w",
// "a", with "+" and "b" as in fopen).  `name` is kept for messages.
FILE* over(int fd, const char* mode, const std::string& name);
// A stream that reads the text of `fd`: CR LF folded, Ctrl-Z the end (see
// text_mode.h).  Its positions count the folded text.
FILE* text_in(int fd, const std::string& name);
// Opens `path` to be written whole, for writing and reading ("w+").  Null
// with errno set when it cannot be created.
FILE* whole(const std::string& path, const std::string& name);

// The handle under a stream of ours, or -1.
int fd_of(FILE* f);
// The errno of the first failed write, 0 when none failed.
int error_of(FILE* f);
// The name given at the open; empty for a stream that is not ours.
std::string name_of(FILE* f);
// Marks the failure of `f` as reported, so that `close` does not report it
// again.
void set_reported(FILE* f);

// What closing a stream found.
struct closed {
  int error = 0;          // errno of the first failed write, close or rename; 0 when all went well
  bool reported = false;  // the failure was reported already
  std::string name;
};
// Closes the stream: flushes it, puts a whole file in place (or removes it
// after a failed write) and closes the handle.
closed close(FILE* f);
// Closes every stream of ours that is still open: what the end of the
// process would do to a stream nobody closed.
void close_all();

}  // namespace os_stream
