// The execution tracker: failure reports, error names, trace output.
#include "runtime/exec_ut.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "runtime/safe_uts.h"

unsigned call_nr = 0;
const char* checkpoint = "";
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

}  // namespace

ExecUt::ExecUt(const char* name) {
  // Fill the fields; `no_exut` stays set until construction is complete.
  memcpy(header, header_text, header_len);
  header[header_len] = 0;
  msg = header + header_len;
  unknown_code[0] = 0;
  library_text[0] = 0;
  show_buf[0] = 0;

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
  show_from = (int)sf;

  // Trace text goes to standard output, the main output of the program.
  trace_file = stdout;
  trace_on = 1;
  errno = 0;
  no_exut = 0;
}

ExecUt::~ExecUt() {
  trace_file = nullptr;
  no_exut = 1;
}

void ExecUt::no_exut_exit(int line, const char* file) {
  printf("\nerror: No exut !!  %i %s", line, file);
  fflush(stdout);
  end_run(1);
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

void ExecUt::ERROR(const char* text) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  errors++;
  printf("\nERROR: %s\n", text ? text : "( null )");
  fflush(stdout);
  fprintf(stderr, "\nERROR: %s\n", text ? text : "( null )");
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

void ExecUt::trace_text(const char* text) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  const char* t = text ? text : "( null )";
  if (trace_file) fputs(t, trace_file);
}

void ExecUt::show_x(const char* text) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  if (trace_on) trace_text(text);
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
}

void ExecUt::show_int(const char* name, long value) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  char pre[16] = "";
  if (value >= 0 && value < 256 && isprint((int)value)) snprintf(pre, sizeof pre, "'%c' = ", (int)value);
  if (trace_on) {
    snprintf(show_buf, sizeof show_buf, "\n%s = %s%ld", name ? name : "", pre, value);
    trace_text(show_buf);
  }
}

void ExecUt::show_ptr(const char* name, const void* p) {
  if (no_exut) no_exut_exit(__LINE__, "exec_ut");
  if (trace_on) {
    snprintf(show_buf, sizeof show_buf, "\n%s = %p", name ? name : "", p);
    trace_text(show_buf);
  }
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
