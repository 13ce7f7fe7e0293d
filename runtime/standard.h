// Base class of the traceable objects (Btree, str_set, rBuffer): a status
// pair and three virtual operations, `out`, `trace` and `check`, in that
// order.  The defaults are failures naming the missing method.
#pragma once

#include <cstdio>

class standard {
 public:
  standard();
  virtual ~standard() = default;

  virtual void out(const char* name, FILE* stream);
  virtual void trace(const char* name, FILE* stream);
  virtual void check();

  int code() const { return code_; }
  const char* text() const { return text_; }
  void set_status(int code, const char* text) {
    code_ = code;
    text_ = text;
  }
  void created() { set_status(0, "successfully created"); }

 private:
  int code_;
  const char* text_;
};
