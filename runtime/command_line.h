// A command line taken apart without a shell.  Blanks separate words, double
// quotes group and are removed, "\" is an ordinary character.  Operators
// outside quotes: ">", ">>", "1>", "1>>", "2>", "2>>", "2>&1", "1>&2", "<",
// "|" and "&&"; they may stand glued to a word ("2>NUL", ">x").  Nothing in
// a word is ever interpreted further: "$", "`", ";" and the like stay text.
#pragma once

#include <string>
#include <vector>

class command_line {
 public:
  struct word {
    std::string text;
    bool quoted = false;  // some part of it stood in double quotes
    bool option = false;  // begins with "/" after a blank and looks like "/S/E" or "/F"
  };
  enum class redir_kind { out, append, err, err_append, err_to_out, out_to_err, in };
  struct redirection {
    redir_kind kind;
    std::string target;  // empty for the two duplications
  };
  // One program or built-in with its arguments and redirections.
  struct stage {
    std::vector<word> words;
    std::vector<redirection> redirs;
  };
  // Stages joined by "|".
  struct pipeline {
    std::vector<stage> stages;
  };

  explicit command_line(const std::string& text);

  // Pipelines joined by "&&": each runs only when the one before succeeded.
  std::vector<pipeline> commands;
  // A syntax problem (a redirection without a target, an open quote at the
  // end is accepted); empty when the line is sound.
  std::string error;

  // "/S/E/R/K/Y", "/s", "/F", "/IM": steps of one to three characters.
  static bool looks_like_option(const std::string& w);
};
