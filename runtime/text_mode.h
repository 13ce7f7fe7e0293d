// Text mode: how every text read sees a file.  CR LF becomes LF, a CR that
// is not followed by LF stays as it is, and byte 26 (Ctrl-Z) ends the text:
// nothing behind it is ever delivered.  Binary reads do not come here.
//
// `text_fold` is the state machine that does it, block by block.  Its
// contract:
//   - the text delivered for a sequence of blocks is the same however the
//     raw bytes are cut into blocks (a CR at the end of one block is held
//     until the first byte of the next shows whether it begins CR LF);
//   - at most one byte is held, and only a CR; `finish` delivers it as a
//     lone CR when the raw input ends;
//   - after byte 26 the machine has `ended`: it consumes nothing more and
//     delivers nothing more, a held CR included only when it came before;
//   - output never exceeds the room given: a full output stops the fold, and
//     the next call goes on where it stopped;
//   - the output may overlap the input when it starts at the input, or one
//     byte before it when a CR is held: a block can be folded in place.
//
// `text_reader` pulls raw blocks from a source (a handle, a stream cookie,
// a pipe) through the machine, so that callers ask for text the way they
// would ask a handle for bytes.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

class text_fold {
 public:
  // Folds raw bytes [in, in + n) into `out` (room for `room` bytes).
  // Returns the number of bytes written; `*used` is set to the number of
  // raw bytes consumed, which is `n` unless the output filled or the text
  // ended first.
  size_t fold(const char* in, size_t n, char* out, size_t room, size_t* used);
  // The raw input is over: a held CR is delivered (when there is room).
  // Returns 0 or 1.
  size_t finish(char* out, size_t room);

  bool ended() const { return ended_; }
  bool holding() const { return held_cr_; }
  void reset() { held_cr_ = ended_ = false; }

 private:
  bool held_cr_ = false;
  bool ended_ = false;
};

class text_reader {
 public:
  // Gives up to `n` raw bytes: the count, 0 at the end, -1 on an error
  // (with errno set).  It may give fewer than asked for at any time.
  using source = std::function<long(char* buf, size_t n)>;

  explicit text_reader(source src, size_t block = 65536);

  // Fills `out` with up to `want` bytes of text.  Fewer only at the end of
  // the text, or -1 when the source fails before anything was delivered.
  long read(char* out, size_t want);
  // True when no more text comes; reads ahead one raw block when it must.
  bool at_end();
  // Raw bytes that the fold has not consumed yet (a held CR first), then
  // the rest of the source, unfolded: for a caller that sets the rest of a
  // file aside.  Nothing once the text has ended.  Counts as `read`.
  long take_raw(char* out, size_t want);
  // Starts over, forgetting what was read; the source is not touched.
  void reset();

 private:
  long pull(char* buf, size_t n);  // one read of the source, EINTR retried
  bool refill();  // false at the end of the source or on an error

  source src_;
  text_fold fold_;
  std::unique_ptr<char[]> raw_;
  size_t block_;
  size_t at_ = 0, n_ = 0;  // unconsumed raw bytes: raw_[at_, n_)
  bool src_done_ = false;
  int error_ = 0;  // errno of a failed source read, given out by `read`
};
