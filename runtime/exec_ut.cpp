// The execution tracker: failure reports, error names, trace output.
#include "runtime/exec_ut.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "runtime/safe_uts.h"
#include "runtime/standard.h"

unsigned call_nr = 0;
const char* checkpoint = "";
const char* last_LB = "??";
int show_from = 2147483647;
const char* program_name = "brelmot";
int showComm = 0;
int traceMe = 0;
int testMe = 0;

namespace {

struct CodeName {
  int code;
  const char* name;
};

const CodeName code_names[] = {
    {0, "ok"},
    {2, "no_such_file"},
    {7, "argument_list_too_long"},
    {8, "exec_format_error"},
    {9, "not_an_open_file"},
    {12, "not_enough_core"},
    {13, "access_to_file_denied"},
    {17, "file_already_exists"},
    {18, "cross_device_link"},
    {19, "no_such_device"},
    {20, "no_such_dir"},
    {22, "invalid_argument"},
    {24, "too_many_open_files"},
    {33, "math_argument"},
    {34, "result_too_large"},
    {500, "syserror"},
    {501, "no_space"},
    {502, "not_found"},
    {503, "exists"},
    {504, "stack_too_deep"},
    {505, "no_check_method"},
    {506, "no_trace_method"},
    {507, "infinite_loop"},
    {508, "cannot_create_trace_file"},
    {509, "NULL_pointer"},
    {510, "not_a_path"},
    {511, "such_access_to_file_not_allowed"},
    {512, "invalid_file_descriptor"},
    {513, "cannot_remove_current_dir"},
    {514, "directory_full"},
    {515, "seek_failure"},
    {516, "hard_IO_failure"},
    {517, "sharing_violation"},
    {518, "lock_violation"},
    {519, "disk_full"},
    {520, "end_of_file"},
    {521, "unspecified_exception"},
    {522, "unspecified_file_exception"},
    {523, "unspecified_archive_exception"},
    {524, "archive_is_read_only"},
    {525, "archive_is_write_only"},
    {526, "end_of_archive"},
    {527, "archive_bad_index"},
    {528, "archive_bad_schema"},
    {529, "archive_not_for_such_data"},
    {530, "memory_exception"},
    {531, "unsupported_exception"},
    {532, "OLE_exception"},
    {533, "user_exception"},
    {534, "resource_allocation_failure"},
    {535, "cannot_create_exception"},
    {536, "corrupted_data"},
    {537, "deleted_again"},
    {538, "still_allocated_items"},
    {539, "invalid_parameter"},
    {540, "no_out_method"},
    {541, "path_to_ordinary_file"},
    {542, "too_many_error_files"},
    {543, "not_yet_created"},
    {544, "storage_corrupted"},
    {545, "abnormal_termination"},
    {546, "floating_point_error"},
    {547, "illegal_instruction"},
    {548, "segmentation_violation"},
    {549, "Ctrl_C_pressed"},
    {550, "unknown_signal"},
    {16384, "DMLERR_adv_ack_timeout"},
    {16385, "DMLERR_busy"},
    {16386, "DMLERR_data_ack_timeout"},
    {16387, "DMLERR_dll_not_initialized"},
    {16389, "DMLERR_exec_ack_timeout"},
    {16390, "DMLERR_invalid_parameter"},
    {16392, "DMLERR_memory_error"},
    {16393, "DMLERR_not_processed"},
    {16394, "DMLERR_no_conv_established"},
    {16395, "DMLERR_poke_ack_timeout"},
    {16396, "DMLERR_postmsg_failed"},
    {16397, "DMLERR_reentrancy"},
    {16398, "DMLERR_server_died"},
    {16399, "DMLERR_sys_error"},
    {16400, "DMLERR_unadv_ack_timeout"},
    {16401, "DMLERR_queue_id_not_found"},
};

const char header_text[] = "\n\nerror --> ";
constexpr int header_len = sizeof(header_text) - 1;  // 12 with the NUL

long env_number(const char* name, long dflt) {
  const char* v = safe_uts::env_lookup(name);
  if (!v) return dflt;
  return strtol(v, nullptr, 10);
}

bool is_dir(const char* p) {
  struct stat st;
  return ::stat(p, &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace

ExecUt::ExecUt(const char* name) {
  // Fill the fields; `no_exut` stays set until construction is complete.
  memcpy(header, header_text, header_len);
  header[header_len] = 0;
  msg = header + header_len;
  mirror_file = stderr;
  trace_file = stderr;
  ring[0] = 0;
  ring_at = ring;
  unknown_code[0] = 0;
  library_text[0] = 0;
  show_buf[0] = 0;
  trace_base[0] = 0;
  trace_name[0] = 0;

  int i = 0;
  if (name) {
    for (; i < 5 && name[i] && name[i] != '.'; i++) app[i] = name[i];
  }
  app[i] = 0;
  if (!app[0]) strcpy(app, "app");

  long sa = env_number("SHOW_AT", 2147483647L);
  long sf = env_number("FROM_PROC", 2147483647L);
  if (sa < 1) sa = 1;
  if (sa < sf) sf = sa - 200;
  show_at = (int)sa;
  show_from = (int)sf;

  // The trace folder: `trace_DIR` when `TRACE_DIR` is set (the two spellings
  // differ on purpose); otherwise the system's temporary folder stands in for
  // the fixed folder of the original layout.  Trace text itself goes to
  // standard output in normal work; only the numbered names live there.
  std::string folder;
  if (safe_uts::env_lookup("TRACE_DIR")) {
    const char* td = getenv("trace_DIR");  // exact spelling only, on purpose
    if (td && *td) folder = td;
  }
  if (folder.empty()) {
    const char* t = getenv("TMPDIR");
    folder = (t && *t) ? t : "/tmp";
  } else if (!is_dir(folder.c_str())) {
    if (::mkdir(folder.c_str(), 0777) != 0) folder = ".";
  }
  if (!folder.empty() && folder.back() != '/') folder += '/';
  snprintf(trace_base, sizeof trace_base, "%s%s_1", folder.c_str(), app);

  trace_file = stdout;
  const char* tts = safe_uts::env_lookup("TRACE_TO_STDOUT");
  (void)tts;  // standard output is the main output in every case here
  trace_on = 1;
  strcpy(trace_name, "stdout");
  errno = 0;
  stopped = 0;
  no_exut = 0;
}

ExecUt::~ExecUt() {
  if (trace_file && trace_file != stdout && trace_file != stderr) fclose(trace_file);
  if (mirror_file && mirror_file != trace_file && mirror_file != stdout &&
      mirror_file != stderr)
    fclose(mirror_file);
  trace_file = nullptr;
  mirror_file = nullptr;
  stopped = 1;
  no_exut = 1;
}

void ExecUt::no_exut_exit(int line, const char* file) {
  printf("\nerror: No exut !!  %i %s", line, file);
  fflush(stdout);
  exit(1);
}

int ExecUt::msg_len() const { return (int)strlen(msg); }

void ExecUt::add(const char* format, ...) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  size_t used = strlen(msg);
  size_t room = msg_size - used;
  if (room <= 1) return;
  va_list ap;
  va_start(ap, format);
  vsnprintf(msg + used, room, format, ap);
  va_end(ap);
}

void ExecUt::fail(int line, const char* file, const char* format, ...) {
  if (no_exut) no_exut_exit(line, file);
  size_t used = strlen(msg);
  size_t room = msg_size - used;
  if (room > 1) {
    va_list ap;
    va_start(ap, format);
    vsnprintf(msg + used, room, format, ap);
    va_end(ap);
  }
  throw_error(line, file);
}

void ExecUt::throw_error(int line, const char* file) {
  if (no_exut) no_exut_exit(line, file);
  if (!msg[0]) strcpy(msg, "faulty code");
  fflush(stderr);
  printf("\n\nfatal error %i.%s, call_nr = %u, errno = %i, %s\n[\n\n%s\n\n]", line,
         file ? file : "", call_nr, errno, checkpoint ? checkpoint : "", msg);
  fflush(stdout);
  checkpoint = "exec_ut :: throw_error";
  msg[0] = 0;
  throw (const char*)header;
}

void ExecUt::reset_after_failure() {
  msg[0] = 0;
  errno = 0;
}

void ExecUt::fatal(int line, const char* file) {
  exit_clean = 0;
  printf("\nfatal error: Last checkpoint: %s", checkpoint ? checkpoint : "");
  if (errno == 0) errno = err::syserror;
  last_err = errno;
  if (at <= maxdepth) stack[at].line = line;
  set_errno(last_err, line, file);
  fflush(stdout);
  exit(1);
}

void ExecUt::ERROR(const char* text) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  errors++;
  printf("\nERROR: %s\n", text ? text : "( null )");
  fflush(stdout);
  fprintf(stderr, "\nERROR: %s\n", text ? text : "( null )");
}

void ExecUt::ring_put(const char* text) {
  size_t n = strlen(text);
  if (n >= (size_t)ring_size) n = ring_size - 1;
  if (ring_at + n + 1 > ring + ring_size) ring_at = ring;  // restart, never overflow
  memcpy(ring_at, text, n);
  ring_at[n] = 0;
  ring_at += n;
}

void ExecUt::set_errno(int code, int line, const char* file) {
  errno = code;
  if (no_exut) return;
  if (code == 0) {
    if (at <= maxdepth) stack[at].text = "";
    return;
  }
  char buf[300];
  snprintf(buf, sizeof buf, "\nErrNo( %18s ) at %6i.%s\n", err_name(code), line,
           file ? file : "");
  errno = code;
  ring_put(buf);
}

const char* ExecUt::err_name(int code) {
  if (no_exut) return "";
  // The library's text lives in a buffer that its next call may free (for
  // unknown codes): the tracker keeps its own copy.
  if ((code >= 1 && code <= 499) || code > 16000) {
    snprintf(library_text, sizeof library_text, "%s", strerror(code));
    return library_text;
  }
  for (const auto& cn : code_names)
    if (cn.code == code) return cn.name;
  snprintf(unknown_code, sizeof unknown_code, "unspecified errno: %i", errno);
  return unknown_code;
}

void ExecUt::stop(int rc) {
  if (stopped) {
    printf("\n stop: %i, stopped = %i\n", rc, stopped);
    exit(1);
  }
  if (rc < 0) {
    errno = saved_errno;
    char line[800];
    snprintf(line, sizeof line,
             "%s.exe atLB = %i:  S y s t e m  E r r o r  \"%s\"    %s", program_name,
             (int)at, err_name(last_err), at <= maxdepth ? stack[at].text : "");
    printf("\n%s\n", line);
  }
  printf("\nis errno %i, last LB_ was in %s\n\n", errno, last_LB);
  fflush(stdout);
  exit(rc);
}

void ExecUt::stop_with(int code) {
  printf("\nS y s t e m E r r o r  in %s.exe: %s\n\n", program_name, err_name(code));
  fflush(stdout);
  exit(code);
}

void ExecUt::LB_(const char* name, const char* file, int line) {
  int kept = errno;
  last_LB = name;
  if (at == 0) {
    set_errno(err::stack_too_deep, line, file);
    at += 8;
    exit(1);
  }
  at--;
  if (at < deepest) deepest = at;
  ring_at++;  // terminate and advance
  if (ring_at >= ring + ring_size) ring_at = ring;
  *ring_at = 0;
  call_nr++;
  Entry& en = stack[at];
  en.name = name;
  en.file = file;
  en.line = line;
  en.call_nr = call_nr;
  en.text = ring_at;
  en.err = kept;
  en.word = 0;
  if (kept) stack_dump();
  if ((long)call_nr > next_xtrace) next_xtrace = call_nr + xtrace_step;
  errno = kept;
}

void ExecUt::LE_(int line) {
  if (at >= (unsigned)maxdepth) {
    printf("\nerror: %i = maxdepth <= at = %i\n", maxdepth, (int)at);
    printf("\nerror: exut out of step\n");
    at = maxdepth;
    ring_at = ring;
    add("W a r n i n g : ExecUt out of step \n");
    exit(1);
  }
  Entry& en = stack[at];
  ring_at = const_cast<char*>(en.text) >= ring && const_cast<char*>(en.text) < ring + ring_size
                ? const_cast<char*>(en.text)
                : ring;
  en.line = line;
  en.err = errno;
  at++;
}

void ExecUt::stack_dump() {
  if (dumping) exit(1);
  dumping = 1;
  saved_errno = errno;
  FILE* out = trace_file ? trace_file : stdout;
  time_t t = safe_uts::now();
  struct tm tmv = safe_uts::local(t);
  char when[64];
  strftime(when, sizeof when, "%Y.%m.%d %H:%M:%S", &tmv);
  fprintf(out, "\n\nCode version 'minimal checks'");
  fprintf(out, " on %s:\n\nStack is\n\n%s", when, at <= maxdepth ? stack[at].text : "");
  if (deepest > 98) fprintf(out, "%s\n", ring);
  if (deepest < at - 3 && at >= 3) deepest = at - 3;
  show_from = 2147483647;
  for (int lv = 99; lv >= (int)deepest && lv >= 0; lv--) {
    Entry& en = stack[lv];
    char nm[29];
    snprintf(nm, sizeof nm, "%s", en.name ? en.name : "");
    if (lv == 99)
      fprintf(out, "--> %-28s : %s at %i %s\n", nm, err_name(en.err), en.line, en.file);
    else {
      if (lv == 98) fprintf(out, "\n    Last checkpoint before was\n");
      fprintf(out, "    %-28s : at %i %s\n", nm, en.line, en.file);
    }
  }
  fflush(out);
  dumping = 0;
  errno = saved_errno;
}

void ExecUt::trace_text(const char* text) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  const char* t = text ? text : "( null )";
  ring_put(t);
  if (trace_file) fputs(t, trace_file);
}

void ExecUt::show_x(const char* text) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  if (trace_on) trace_text(text);
  if (mirror_on && mirror_file) fprintf(mirror_file, "\n%s", text ? text : "( null )");
}

void ExecUt::show_str(const char* name, const char* text) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  const char* t = text ? text : "( null )";
  if (trace_on) {
    size_t n = strlen(t);
    snprintf(show_buf, sizeof show_buf, "\n%s = [%.200s%s", name ? name : "", t,
             n > 200 ? " ... \n" : "]\n");
    trace_text(show_buf);
  }
  if (mirror_on && mirror_file) fprintf(mirror_file, "\n%s = (%.80s)", name ? name : "", t);
}

void ExecUt::show_int(const char* name, long value) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  char pre[16] = "";
  if (value >= 0 && value < 256 && isprint((int)value)) snprintf(pre, sizeof pre, "'%c' = ", (int)value);
  if (trace_on) {
    snprintf(show_buf, sizeof show_buf, "\n%s = %s%ld", name ? name : "", pre, value);
    trace_text(show_buf);
  }
  if (mirror_on && mirror_file) fprintf(mirror_file, "\n%s = %s(%ld)", name ? name : "", pre, value);
}

void ExecUt::show_ptr(const char* name, const void* p) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  if (trace_on) {
    snprintf(show_buf, sizeof show_buf, "\n%s = %p", name ? name : "", p);
    trace_text(show_buf);
  }
  if (mirror_on && mirror_file) fprintf(mirror_file, "\n%s = (%p)", name ? name : "", p);
}

void ExecUt::show_float(const char* name, double value) {
  char buf[64];
  snprintf(buf, sizeof buf, "%f", value);
  show_str(name, buf);
}

void ExecUt::show_mem(const char* name, const void* start, int length) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  if ((long)call_nr <= show_from) return;
  if (length > 230) length = 230;
  if (length < 0) length = 0;
  char copy[232];
  memcpy(copy, start, length);
  for (int i = 0; i < length; i++)
    if (!copy[i]) copy[i] = '?';
  copy[length] = 0;
  char buf[600];
  snprintf(buf, sizeof buf, "%s = ...[%s]...\n", name ? name : "", copy);
  show_x(buf);
}

void ExecUt::show_obj(const char* name, standard& obj) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  obj.trace(name, trace_file);
  if (mirror_on) obj.trace(name, mirror_file);
}

void ExecUt::trace_from(FILE* stream, char mode) {
  mirror_file = stream ? stream : trace_file;
  mirror_on = mirror_file != trace_file;
  if (mode == 'e')
    show_from = (int)env_number("FROM_PROC", 0);
  else
    show_from = (int)call_nr;
  // The helper scripts of the original layout are not run here; the trace
  // text goes to the mirror from now on.
}

const char* ExecUt::trace_file_name(char* out, const char* extension) {
  const char* ext = ".err";
  if (extension && (!strcmp(extension, ".sto") || !strcmp(extension, ".ste"))) ext = extension;
  if (!strcmp(ext, ".sto") && trace_file == stdout) ext = ".err";
  if (!strcmp(ext, ".ste") && trace_file == stderr) ext = ".err";
  sprintf(out, "%s%s", trace_base, ext);
  return out;
}

void ExecUt::add_sto(const void* ptr, int line, const char* file) {
  heap_i = (heap_i + 1) % 400;
  if (heap_i == 0 || !heap) {
    HeapBlock* b = new HeapBlock();
    b->older = heap;
    heap = b;
    heap_i = 0;
  }
  heap->items[heap_i] = {ptr, line, file};
}

void ExecUt::rem_sto(const void* ptr) {
  if (!ptr) return;
  char buf[64];
  snprintf(buf, sizeof buf, "Heap %p rem_sto \n", ptr);
  show_x(buf);
  for (HeapBlock* b = heap; b; b = b->older) {
    int top = b == heap ? heap_i : 399;
    for (int i = top; i >= 0; i--)
      if (b->items[i].line && b->items[i].ptr == ptr) {
        b->items[i].line = 0;
        return;
      }
  }
  snprintf(buf, sizeof buf, "W a r n i n g :  rem_sto() cannot find the item %p \n", ptr);
  show_x(buf);
}

void ExecUt::show_heap(const char* file, int line) {
  char buf[400];
  snprintf(buf, sizeof buf, "Heap at %i in %s: \n----\n", line, file);
  show_x(buf);
  long live = 0;
  for (HeapBlock* b = heap; b; b = b->older) {
    int top = b == heap ? heap_i : 399;
    for (int i = top; i >= 0; i--)
      if (b->items[i].line) {
        live++;
        snprintf(buf, sizeof buf, "Heap %p allocated at %5ld %s\n", b->items[i].ptr,
                 (long)b->items[i].line, b->items[i].file);
        show_x(buf);
      }
  }
  snprintf(buf, sizeof buf, "Heap items: %ld \n", live);
  show_x(buf);
}

void ExecUt::check_heap(bool report) {
  bool any = false;
  while (heap) {
    HeapBlock* b = heap;
    int top = heap_i;
    if (report)
      for (int i = top; i >= 0; i--)
        if (b->items[i].line) {
          any = true;
          printf("delete storage allocated at %5ld %s\n", (long)b->items[i].line, b->items[i].file);
        }
    heap = b->older;
    heap_i = 399;
    delete b;
  }
  heap_i = -1;
  if (any) errno = err::still_allocated_items;
}

bool starts_with(const char* s, const char* prefix) {
  if (!s || !prefix) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, "exec_ut", "System: starts_with() got a NULL pointer\n");
  }
  while (*prefix)
    if (*s++ != *prefix++) return false;
  return true;
}

bool starts_with_nocase(const char* s, const char* prefix) {
  if (!s || !prefix) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, "exec_ut", "System: starts_with_nocase() got a NULL pointer\n");
  }
  while (*prefix)
    if (tolower((unsigned char)*s++) != tolower((unsigned char)*prefix++)) return false;
  return true;
}

int replace_char(char* s, char from, char to) {
  if (!s) {
    errno = err::NULL_pointer;
    exut.fail(__LINE__, "exec_ut", "System: replace_char() got a NULL pointer\n");
  }
  int n = 0;
  for (; *s; s++)
    if (*s == from) {
      *s = to;
      n++;
    }
  return n;
}
