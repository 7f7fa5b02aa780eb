// Tokens of formulas: names, numbers, relations and words, of the two alphabets that our formula files are written in.
//
// A token lies in the block of the input in one piece and is looked at once; its text is valid to the next token. Lines
// end at LF, CR or CR LF. Line and column count from 1. Text that is no token is token_kind::error, and the end of the
// file has a kind of its own, so that a parser can tell a cut file from a wrong one.
#pragma once

#include "tovan/files/text/textread.h"

#include <array>

namespace tvn {

enum class token_kind : int32_t {
  plus,
  minus,
  asterisk,
  hat,
  eq,
  le,
  leq,
  ge,
  geq,
  colon,
  comma,
  lparen,
  rparen,
  lbracket,
  rbracket,
  divide,
  kw_bounds,
  kw_suchthat,
  kw_infinity,
  kw_binary,
  kw_general,
  kw_minimize,
  kw_maximize,
  kw_end,
  label,   // a name with ":" behind it
  dclabel, // a name with "::" behind it
  string,  // a name
  qstring, // a name in quotes
  integer,
  real,
  error,
  end_of_file,
};

// What a character is: bits of char_class.
using char_classes = std::array<uint8_t, 256>;
enum char_class : uint8_t {
  is_name_char = 1,  // may stand in a name
  is_name_start = 2, // may open one
  is_digit_char = 4,
  is_blank_char = 8,
};

struct alphabet {
  char_classes classes{};
  char comment; // opens a comment to the end of the line
  char quote;   // around names
  bool escapes; // a backslash inside quotes takes the next character as it is
  bool lp;      // keywords, labels and the division behind "]"; otherwise commas and parentheses
};
const alphabet& lp_alphabet() noexcept;
const alphabet& opf_alphabet() noexcept;

struct token {
  token_kind kind = token_kind::error;
  std::string_view text; // of a name without its quotes, and of a label
  double value = 0;      // of a number
  int64_t line = 0, column = 0;
};

struct lexer {
  text_input in;
  const alphabet* letters = nullptr;
  bool takesquotes = true;
  token tok;                       // the present one
  int64_t lastline = 0;            // line of the last character of the token before
  int64_t at = 0;                  // position in the block of what is read next
  int64_t start = 0;               // of the present token
  int64_t line = 1, linebegin = 0; // of position `at`; a line may begin before the block
  vec<char> unescaped;             // text of a quoted name with escapes

  const char* text() const noexcept { return in.block.data(); }
};

void make_lexer(lexer& lx, sysenv& sys, sysfile& file, const alphabet& letters, bool takesquotes);
void next_token(lexer& lx);
// Up to the next line end, for what is no formula; the text is valid to the next call.
std::string_view take_line(lexer& lx);
// Up to the next character c or the end of the file; with `comments` what stands in comments does not count.
std::string_view take_until(lexer& lx, char c, bool comments);
// The bracket at `at` is passed with the name behind it, which is empty when none stands there. For free text, where no
// character opens a comment or a quoted name.
std::string_view take_tag(lexer& lx);
// What is left of the present token's line, at most what a message holds.
std::string_view present_line(lexer& lx) noexcept;

// Reads more text, keeping the present token; false when there is none.
bool more(lexer& lx);
// A line end at `at` is passed; the character is LF or CR.
void pass_line_end(lexer& lx);

// The present token, a name or label, stands in quotes.
inline bool is_quoted(const lexer& lx) noexcept { return lx.text()[lx.start] == lx.letters->quote; }

// A name that reads as one without quotes.
bool is_plain_name(const alphabet& letters, std::string_view name) noexcept;
// The keyword that an unquoted LP word is, token_kind::string for none. "free" is a word of the bounds and none here.
token_kind lp_keyword(std::string_view word) noexcept;
// word is in lower case.
bool is_word(std::string_view text, std::string_view word) noexcept;

} // namespace tvn
