// Taking a command line apart without a shell.
#include "runtime/command_line.h"

#include <sys/stat.h>

#include <cctype>

#include "runtime/os_env.h"

bool command_line::looks_like_option(const std::string& w) {
  if (w.size() < 2 || w[0] != '/') return false;
  size_t i = 0;
  while (i < w.size()) {
    if (w[i] != '/') return false;
    size_t j = i + 1;
    while (j < w.size() && w[j] != '/') {
      unsigned char c = (unsigned char)w[j];
      if (!isalnum(c) && c != '?' && c != '-' && c != '+' && c != ':') return false;
      j++;
    }
    if (j - i - 1 < 1 || j - i - 1 > 3) return false;
    i = j;
  }
  return true;
}

namespace {

using word = command_line::word;
using kind = command_line::redir_kind;

// The state of taking one line apart, character by character.
class line_parser {
 public:
  explicit line_parser(command_line& cl) : cl_(cl) {
    cl_.commands.emplace_back();
    cl_.commands.back().stages.emplace_back();
  }

  void parse(const std::string& text) {
    size_t n = text.size();
    for (size_t i = 0; i < n; i++) {
      char c = text[i];
      if (quoted_) {
        if (c == '"')
          quoted_ = false;
        else
          cur_.text += c;
      } else if (c == '"') {
        open_quote();
      } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
        finish_word();
        after_blank_ = true;
      } else if (c == '>' || c == '<') {
        i = redirection(text, i);
      } else if (c == '|') {
        next_stage();
      } else if (c == '&' && i + 1 < n && text[i + 1] == '&') {
        next_pipeline();
        i++;
      } else {
        begin_word();
        cur_.text += c;
        after_blank_ = false;
      }
    }
    finish_word();
    if (pending_) problem();
    drop_empty();
  }

 private:
  command_line::stage& stage() { return cl_.commands.back().stages.back(); }
  void problem() { cl_.error = "redirection without a target"; }

  void begin_word() {
    if (in_word_) return;
    in_word_ = true;
    word_after_blank_ = after_blank_;
  }

  void open_quote() {
    begin_word();
    cur_.quoted = true;
    quoted_ = true;
    after_blank_ = false;
  }

  // A word ends: it is the target of a waiting redirection, or a word of
  // the stage (an option when it looks like one and names nothing).
  void finish_word() {
    if (!in_word_) return;
    if (pending_) {
      stage().redirs.push_back({pending_kind_, cur_.text});
      pending_ = false;
    } else {
      if (!cur_.quoted && word_after_blank_ && !stage().words.empty() &&
          command_line::looks_like_option(cur_.text)) {
        // An existing path such as "/tmp" stays a path.
        struct stat sb;
        cur_.option = os().lstat(cur_.text.c_str(), &sb) != 0;
      }
      stage().words.push_back(cur_);
    }
    cur_ = word();
    in_word_ = false;
  }

  void need_target(kind k) {
    if (pending_) problem();
    pending_ = true;
    pending_kind_ = k;
  }

  // ">", ">>", "1>", "2>", "2>&1", "1>&2" or "<" at `i`; returns the index
  // of its last character.
  size_t redirection(const std::string& text, size_t i) {
    char c = text[i];
    size_t n = text.size();
    int fd = c == '>' ? 1 : 0;
    // "1>" and "2>": a lone digit that began a word names the handle.
    if (c == '>' && in_word_ && !cur_.quoted && word_after_blank_ && (cur_.text == "1" || cur_.text == "2")) {
      fd = cur_.text[0] - '0';
      cur_ = word();
      in_word_ = false;
    } else {
      finish_word();
    }
    if (c == '<') {
      need_target(kind::in);
    } else if (i + 2 < n && text[i + 1] == '&' && (text[i + 2] == '1' || text[i + 2] == '2')) {
      if (pending_) problem();
      stage().redirs.push_back({fd == 2 ? kind::err_to_out : kind::out_to_err, std::string()});
      i += 2;
    } else if (i + 1 < n && text[i + 1] == '>') {
      need_target(fd == 2 ? kind::err_append : kind::append);
      i++;
    } else {
      need_target(fd == 2 ? kind::err : kind::out);
    }
    after_blank_ = true;  // a target glued to the operator is still a target
    return i;
  }

  void next_stage() {
    finish_word();
    if (pending_) problem();
    pending_ = false;
    cl_.commands.back().stages.emplace_back();
    after_blank_ = true;
  }

  void next_pipeline() {
    finish_word();
    if (pending_) problem();
    pending_ = false;
    cl_.commands.emplace_back();
    cl_.commands.back().stages.emplace_back();
    after_blank_ = true;
  }

  // Empty stages and pipelines go ("a && && b", a trailing "|").
  void drop_empty() {
    std::vector<command_line::pipeline> kept;
    for (command_line::pipeline& p : cl_.commands) {
      command_line::pipeline q;
      for (command_line::stage& s : p.stages)
        if (!s.words.empty() || !s.redirs.empty()) q.stages.push_back(std::move(s));
      if (!q.stages.empty()) kept.push_back(std::move(q));
    }
    cl_.commands.swap(kept);
  }

  command_line& cl_;
  word cur_;
  bool in_word_ = false;           // a word has begun (perhaps only with quotes)
  bool after_blank_ = true;        // the next word begins at the start or after a blank
  bool word_after_blank_ = true;   // the current word did
  bool quoted_ = false;
  bool pending_ = false;           // a redirection waits for its target
  kind pending_kind_ = kind::out;
};

}  // namespace

command_line::command_line(const std::string& text) { line_parser(*this).parse(text); }
