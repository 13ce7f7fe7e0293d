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
    size_t k = 0;
    while (k < most && in[i + k] != '\r' && in[i + k] != ctrl_z) k++;
    memcpy(out + o, in + i, k);
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

bool text_reader::refill() {
  if (src_done_ || error_) return false;
  if (!raw_) raw_.reset(new char[block_]);
  at_ = n_ = 0;
  int e0 = errno;
  for (;;) {
    long r = src_(raw_.get(), block_);
    if (r > 0) {
      n_ = (size_t)r;
      errno = e0;  // an interruption that was retried is no error
      return true;
    }
    if (r == 0) {
      src_done_ = true;
      errno = e0;
      return false;
    }
    if (errno != EINTR) {
      error_ = errno ? errno : EIO;
      return false;
    }
  }
}

long text_reader::read(char* out, size_t want) {
  size_t got = 0;
  while (got < want && !fold_.ended()) {
    if (at_ == n_ && !refill()) {
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
