// The execution tracker: one object, `exut`, that owns the failure report,
// the error vocabulary and the trace output.  Code that meets a state it
// cannot go on from appends its words to `exut.msg`, sets `errno` to one of
// the codes below and calls `exut.throw_error(__LINE__, "<source>")`, which
// prints the report and throws the report text (a `const char*`).
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "runtime/run_end.h"

class standard;

// The system's own error codes, carried in `errno` next to the library's.
namespace err {
constexpr int ok = 0;
// Library codes (their names are shadowed by the library's own texts).
constexpr int no_such_file = 2, argument_list_too_long = 7, exec_format_error = 8,
              not_an_open_file = 9, not_enough_core = 12, access_to_file_denied = 13,
              file_already_exists = 17, cross_device_link = 18, no_such_device = 19,
              no_such_dir = 20, invalid_argument = 22, too_many_open_files = 24,
              math_argument = 33, result_too_large = 34;
constexpr int syserror = 500, no_space = 501, not_found = 502, exists = 503,
              stack_too_deep = 504, no_check_method = 505, no_trace_method = 506,
              infinite_loop = 507, cannot_create_trace_file = 508, NULL_pointer = 509,
              not_a_path = 510, such_access_to_file_not_allowed = 511,
              invalid_file_descriptor = 512, cannot_remove_current_dir = 513,
              directory_full = 514, seek_failure = 515, hard_IO_failure = 516,
              sharing_violation = 517, lock_violation = 518, disk_full = 519,
              end_of_file = 520, unspecified_exception = 521,
              unspecified_file_exception = 522, unspecified_archive_exception = 523,
              archive_is_read_only = 524, archive_is_write_only = 525,
              end_of_archive = 526, archive_bad_index = 527, archive_bad_schema = 528,
              archive_not_for_such_data = 529, memory_exception = 530,
              unsupported_exception = 531, OLE_exception = 532, user_exception = 533,
              resource_allocation_failure = 534, cannot_create_exception = 535,
              corrupted_data = 536, deleted_again = 537, still_allocated_items = 538,
              invalid_parameter = 539, no_out_method = 540, path_to_ordinary_file = 541,
              too_many_error_files = 542, not_yet_created = 543, storage_corrupted = 544,
              abnormal_termination = 545, floating_point_error = 546,
              illegal_instruction = 547, segmentation_violation = 548,
              Ctrl_C_pressed = 549, unknown_signal = 550;
// Conversation codes.
constexpr int DMLERR_adv_ack_timeout = 16384, DMLERR_busy = 16385,
              DMLERR_data_ack_timeout = 16386, DMLERR_dll_not_initialized = 16387,
              DMLERR_exec_ack_timeout = 16389, DMLERR_invalid_parameter = 16390,
              DMLERR_memory_error = 16392, DMLERR_not_processed = 16393,
              DMLERR_no_conv_established = 16394, DMLERR_poke_ack_timeout = 16395,
              DMLERR_postmsg_failed = 16396, DMLERR_reentrancy = 16397,
              DMLERR_server_died = 16398, DMLERR_sys_error = 16399,
              DMLERR_unadv_ack_timeout = 16400, DMLERR_queue_id_not_found = 16401;
}  // namespace err

// Process-wide state of the tracker.
extern unsigned call_nr;          // progress counter shown in failure reports
extern const char* checkpoint;    // what the last checkpoint said
extern int show_from;             // trace text only while call_nr is above this
extern const char* program_name;  // argv[0]
extern int showComm;              // echo commands and file operations
extern int traceMe;               // dump engine trees
extern int testMe;                // anchor count and link check after a build

class ExecUt {
 public:
  static constexpr int msg_size = 6000;

  explicit ExecUt(const char* name);
  virtual ~ExecUt();
  ExecUt(const ExecUt&) = delete;
  ExecUt& operator=(const ExecUt&) = delete;

  // Reports the failure and throws the report text; never returns.
  [[noreturn]] void throw_error(int line, const char* file);
  // Counts and prints a reported line; the run goes on.
  void ERROR(const char* text);
  // The name of an error code; the text stays valid until the next call.
  const char* err_name(int code);

  void show_str(const char* name, const char* text);
  void show_int(const char* name, long value);
  void show_x(const char* text);
  void show_ptr(const char* name, const void* p);
  void show_mem(const char* name, const void* start, int length);
  void trace_text(const char* text);

  // Appends formatted text to the message (bounded by the buffer).
  void add(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Appends formatted text and raises the failure.
  [[noreturn]] void fail(int line, const char* file, const char* format, ...)
      __attribute__((format(printf, 4, 5)));
  // The whole report text: header "\n\nerror --> " followed by the message.
  const char* report() const { return header; }
  int msg_len() const;
  void clear_msg() { msg[0] = 0; }
  bool alive() const { return !no_exut; }
  // Undoes what a failure left behind (for callers that survive a throw).
  void reset_after_failure();

  char* msg;
  char app[6];
  int errors = 0;
  FILE* trace_file;
  int trace_on = 0;
  char trace_base[600];  // folder and name stem of trace files
  int no_exut = 1;

 private:
  void no_exut_exit(int line, const char* file);
  char header[12 + msg_size + 64];
  char show_buf[6400];
  char unknown_code[64];
  char library_text[128];  // err_name's copy of the library's text
};

extern ExecUt exut;

// Text operations used everywhere. A null `s` is a failure with errno 509.
bool starts_with(const char* s, const char* prefix);
bool starts_with_nocase(const char* s, const char* prefix);
int replace_char(char* s, char from, char to);

