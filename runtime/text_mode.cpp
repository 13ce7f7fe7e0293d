// Text mode: CR LF folding and the Ctrl-Z end, block by block.
#include "runtime/text_mode.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {
constexpr char ctrl_z = 26;
}

// ---------------------------------------------------------------- text_fold

size_t text_fold::fold(const char* in, size_t n, char* out, size_t room, size_t* used) {
  size_t i = 0, o = 0;
  while (i < n && !ended_) {
    if (held_cr_) {  // the byte behind a CR decides what the CR was
      if (o == room) break;
      held_cr_ = false;
      if (in[i] == '\n') {
        out[o++] = '\n';
        i++;
      } else {
        out[o++] = '\r';  // a lone CR; the byte behind it is looked at next
      }
      continue;
    }
    size_t most = std::min(n - i, room - o);
    if (most == 0) break;
    // The plain run up to the next CR or Ctrl-Z goes out as it is.
    const char* cr = static_cast<const char*>(memchr(in + i, '\r', most));
    size_t k = cr ? (size_t)(cr - (in + i)) : most;
    if (const char* z = static_cast<const char*>(memchr(in + i, ctrl_z, k))) k = (size_t)(z - (in + i));
    memmove(out + o, in + i, k);
    o += k;
    i += k;
    if (k == most) continue;
    if (in[i++] == ctrl_z)
      ended_ = true;
    else
      held_cr_ = true;
  }
  *used = i;
  return o;
}

size_t text_fold::finish(char* out, size_t room) {
  if (!held_cr_ || room == 0) return 0;
  held_cr_ = false;
  out[0] = '\r';
  return 1;
}

// -------------------------------------------------------------- text_reader

text_reader::text_reader(source src, size_t block) : src_(std::move(src)), block_(block) {}

void text_reader::reset() {
  fold_.reset();
  at_ = n_ = 0;
  src_done_ = false;
  error_ = 0;
}

// One read of the source into `buf`: the count, 0 at the end (the source
// is then done), -1 on an error (kept for `read` to report).
long text_reader::pull(char* buf, size_t n) {
  if (src_done_ || error_) return error_ ? -1 : 0;
  int e0 = errno;
  for (;;) {
    long r = src_(buf, n);
    if (r >= 0) {
      if (r == 0) src_done_ = true;
      errno = e0;  // an interruption that was retried is no error
      return r;
    }
    if (errno != EINTR) {
      error_ = errno ? errno : EIO;
      return -1;
    }
  }
}

bool text_reader::refill() {
  if (!raw_) raw_.reset(new char[block_]);
  at_ = n_ = 0;
  long r = pull(raw_.get(), block_);
  if (r <= 0) return false;
  n_ = (size_t)r;
  return true;
}

long text_reader::read(char* out, size_t want) {
  size_t got = 0;
  while (got < want && !fold_.ended()) {
    if (at_ == n_ && want - got > block_) {
      // A large request: the raw bytes go straight to `out` and are folded
      // there, behind the place of a held CR.
      size_t hold = fold_.holding() ? 1 : 0;
      char* raw = out + got + hold;
      long r = pull(raw, want - got - hold);
      if (r > 0) {
        size_t used = 0;
        got += fold_.fold(raw, (size_t)r, out + got, want - got, &used);
        continue;
      }
    } else if (at_ == n_) {
      refill();
    }
    if (at_ == n_) {  // the source is done, or failed
      if (!error_) got += fold_.finish(out + got, want - got);
      break;
    }
    size_t used = 0;
    got += fold_.fold(raw_.get() + at_, n_ - at_, out + got, want - got, &used);
    at_ += used;
  }
  if (got == 0 && error_) {
    errno = error_;
    return -1;
  }
  return (long)got;
}

bool text_reader::at_end() {
  if (fold_.holding()) return false;  // a held CR is still to come
  if (fold_.ended()) return true;
  if (at_ == n_ && !refill()) return !error_;  // an error is for `read` to report
  return raw_[at_] == ctrl_z;
}

long text_reader::take_raw(char* out, size_t want) {
  if (fold_.ended()) return 0;
  size_t got = 0;
  if (fold_.holding() && want > 0) {
    out[got++] = '\r';
    fold_.reset();  // not ended: only the held CR is given up
  }
  while (got < want) {
    if (at_ == n_ && !refill()) break;
    size_t k = std::min(n_ - at_, want - got);
    memcpy(out + got, raw_.get() + at_, k);
    at_ += k;
    got += k;
  }
  if (got == 0 && error_) {
    errno = error_;
    return -1;
  }
  return (long)got;
}
