// The environment: variables looked up and expanded in texts, and the
// settings files that set them.
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>

#include "runtime/os_env.h"
#include "runtime/safe_uts.h"
#include "runtime/safe_uts_internal.h"
#include "runtime/text_pieces.h"

namespace {
const char* const SRC = "safe_uts_env";
}  // namespace

// ------------------------------------------------------------- environment

const char* safe_uts::env_lookup(const char* name) {
  if (!name) return nullptr;
  const char* v = os().get_env(name);
  if (v) return v;
  size_t n = strlen(name);
  for (char** e = os().env_list(); e && *e; e++)
    if (strncasecmp(*e, name, n) == 0 && (*e)[n] == '=') return *e + n + 1;
  return nullptr;
}

std::string safe_uts::expand_env(const char* s) {
  NN(s);
  std::string out;
  const char* p = s;
  while (*p) {
    if (*p != '%') {
      out += *p++;
      continue;
    }
    const char* q = p + 1;
    while (is_name_char(*q)) q++;
    if (q - (p + 1) > 500) {
      exut.show_str("s", s);
      exut.fail(__LINE__, SRC, "System: environment name too long\n");
    }
    // The name: letters, digits and "_" (variables such as TRACE_DIR).
    const char* l = p + 1;
    while (l < q && (isalnum((unsigned char)*l) || *l == '_')) l++;
    if (l == p + 1) {  // no name: the "%" and the next character go
      p += *(p + 1) ? 2 : 1;
      continue;
    }
    std::string name(p + 1, l);
    const char* v = env_lookup(name.c_str());
    if (!v) {
      p++;  // only the "%" goes
      continue;
    }
    out += v;
    p = l;
    if (*p == '%') p++;
  }
  if (out.size() >= 500) {
    exut.show_int("len", (long)out.size());
    exut.show_str("in", s);
    exut.show_str("out", out.c_str());
    exut.fail(__LINE__, SRC, "System: expanded text too long\n");
  }
  return out;
}

void safe_uts::expand_env(char* out, const char* s) {
  NN(out);
  std::string r = expand_env(s);
  memcpy(out, r.c_str(), r.size() + 1);
}

const char* safe_uts::getenv_ok(const char* name) {
  if (!name) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, SRC, "System: getenv_ok() of NULL\n");
  }
  for (const char* p = name; *p; p++)
    if (!is_name_char(*p)) {
      printf("name = (%s)\n", name);
      exut.fail(__LINE__, SRC, "System: not an environment name: %s\n", name);
    }
  const char* v = env_lookup(name);
  return v ? v : "";
}

int safe_uts::value_after(char* out, const char* text, const char* key) {
  NN(out);
  NN(text);
  NN(key);
  const char* p = strstr(text, key);
  if (!p) {
    *out = 0;
    return -1;
  }
  p += strlen(key);
  int n = 0;
  while (is_name_char(p[n]) && n < 500) {
    out[n] = p[n];
    n++;
  }
  out[n] = 0;
  if (n == 500) {
    exut.show_str("to", out);
    exut.fail(__LINE__, SRC, "to[%s]", out);
  }
  return n;
}

char* safe_uts::append_path(char* dir, const char* sub) {
  NN(dir);
  NN(sub);
  size_t n = strlen(dir);
  // "/" is the separator on this platform; "\\" is still accepted on input.
  if (n == 0 || (dir[n - 1] != '/' && dir[n - 1] != '\\')) dir[n++] = '/';
  while (*sub == '/' || *sub == '\\') sub++;
  strcpy(dir + n, sub);
  return dir;
}

// -------------------------------------------------------- settings files

void safe_uts::env_set(const char* name, const char* value) {
  NN(name);
  NN(value);
  int e0 = errno;
  const char* now_set = nullptr;
  if (os().set_env(name, value) == 0) now_set = os().get_env(name);
  if (!now_set || strcmp(now_set, value) != 0) {
    exut.show_str("Value", value);
    exut.fail(__LINE__, SRC, "System: cannot set %s=%s\n", name, value);
  }
  errno = e0;
}

namespace {
// Lines "set NAME=value" of a settings file; the value ends at white space
// or is quoted.
template <class F>
void each_setting(const std::string& text, F f) {
  bool done = false;  // f found what it wanted: the rest is passed over
  each_piece(text, '\n', [&](const std::string& line, bool) {
    if (done) return;
    size_t k = line.find_first_not_of(" \t");
    if (k == std::string::npos || strncasecmp(line.c_str() + k, "set ", 4) != 0) return;
    k = line.find_first_not_of(" \t", k + 4);
    if (k == std::string::npos) return;
    size_t eq = line.find('=', k);
    if (eq == std::string::npos || eq == k) return;
    std::string name = line.substr(k, eq - k);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.pop_back();
    if (name.empty() || name.find_first_of(" \t") != std::string::npos) return;
    std::string value;
    size_t v = eq + 1;
    if (v < line.size() && line[v] == '"') {
      size_t q = line.find('"', v + 1);
      value = line.substr(v + 1, q == std::string::npos ? std::string::npos : q - v - 1);
    } else {
      size_t w = line.find_first_of(" \t\r", v);
      value = line.substr(v, w == std::string::npos ? std::string::npos : w - v);
    }
    if (f(name, value)) done = true;
  });
}
std::string& env_found() {
  static auto* s = new std::string;
  return *s;
}
}  // namespace

void safe_uts::env_read(const char* file) {
  NN(file);
  std::string text = read_text(file);
  each_setting(text, [&](const std::string& n, const std::string& v) {
    env_set(n.c_str(), v.c_str());
    return false;
  });
}

const char* safe_uts::env_value(const char* file, const char* name) {
  NN(file);
  NN(name);
  std::string text = read_text(file);
  bool found = false;
  each_setting(text, [&](const std::string& n, const std::string& v) {
    if (n != name) return false;
    env_found() = v;
    found = true;
    return true;
  });
  if (!found) exut.fail(__LINE__, SRC, "User: %s not specified in %s", name, file);
  return env_found().c_str();
}
