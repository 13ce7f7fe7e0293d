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

command_line::command_line(const std::string& text) {
  commands.emplace_back();
  commands.back().stages.emplace_back();

  word cur;
  bool in_word = false;       // a word has begun (perhaps only with quotes)
  bool after_blank = true;    // the word began at the start or after a blank
  bool word_after_blank = true;
  bool pending = false;       // a redirection waits for its target
  redir_kind pending_kind = redir_kind::out;

  auto st = [&]() -> stage& { return commands.back().stages.back(); };

  auto finish_word = [&]() {
    if (!in_word) return;
    if (pending) {
      st().redirs.push_back({pending_kind, cur.text});
      pending = false;
    } else {
      if (!cur.quoted && word_after_blank && !st().words.empty() && looks_like_option(cur.text)) {
        // An existing path such as "/tmp" stays a path.
        struct stat sb;
        cur.option = os().lstat(cur.text.c_str(), &sb) != 0;
      }
      st().words.push_back(cur);
    }
    cur = word();
    in_word = false;
  };
  auto begin_word = [&]() {
    if (!in_word) {
      in_word = true;
      word_after_blank = after_blank;
    }
  };
  auto need_target = [&](redir_kind k) {
    if (pending) error = "redirection without a target";
    pending = true;
    pending_kind = k;
  };

  bool quoted = false;
  size_t n = text.size();
  for (size_t i = 0; i < n; i++) {
    char c = text[i];
    if (quoted) {
      if (c == '"')
        quoted = false;
      else
        cur.text += c;
      continue;
    }
    if (c == '"') {
      begin_word();
      cur.quoted = true;
      quoted = true;
      after_blank = false;
      continue;
    }
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
      finish_word();
      after_blank = true;
      continue;
    }
    if (c == '>' || c == '<') {
      int fd = c == '>' ? 1 : 0;
      // "1>" and "2>": a lone digit that began a word names the handle.
      if (c == '>' && in_word && !cur.quoted && word_after_blank &&
          (cur.text == "1" || cur.text == "2")) {
        fd = cur.text[0] - '0';
        cur = word();
        in_word = false;
      } else {
        finish_word();
      }
      if (c == '<') {
        need_target(redir_kind::in);
      } else if (i + 2 < n && text[i + 1] == '&' && (text[i + 2] == '1' || text[i + 2] == '2')) {
        if (pending) error = "redirection without a target";
        commands.back().stages.back().redirs.push_back(
            {fd == 2 ? redir_kind::err_to_out : redir_kind::out_to_err, std::string()});
        i += 2;
      } else if (i + 1 < n && text[i + 1] == '>') {
        need_target(fd == 2 ? redir_kind::err_append : redir_kind::append);
        i++;
      } else {
        need_target(fd == 2 ? redir_kind::err : redir_kind::out);
      }
      after_blank = true;  // a target glued to the operator is still a target
      continue;
    }
    if (c == '|') {
      finish_word();
      if (pending) error = "redirection without a target";
      pending = false;
      commands.back().stages.emplace_back();
      after_blank = true;
      continue;
    }
    if (c == '&' && i + 1 < n && text[i + 1] == '&') {
      finish_word();
      if (pending) error = "redirection without a target";
      pending = false;
      commands.emplace_back();
      commands.back().stages.emplace_back();
      i++;
      after_blank = true;
      continue;
    }
    begin_word();
    cur.text += c;
    after_blank = false;
  }
  finish_word();
  if (pending) error = "redirection without a target";

  // Drop empty stages and pipelines ("a && && b", a trailing "|").
  std::vector<pipeline> kept;
  for (pipeline& p : commands) {
    pipeline q;
    for (stage& s : p.stages)
      if (!s.words.empty() || !s.redirs.empty()) q.stages.push_back(std::move(s));
    if (!q.stages.empty()) kept.push_back(std::move(q));
  }
  commands.swap(kept);
}
