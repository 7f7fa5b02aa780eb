// The token reader. See lextoken.h.
#include "tovan/files/lp/lextoken.h"

#include "misc/numtext.h"

namespace tvn {

namespace {

constexpr int64_t kept_of_line = 1000; // characters of a line that stay for a message

constexpr char_classes make_classes(std::string_view special, std::string_view nostart) {
  char_classes c{};
  const auto set = [&c](char ch, uint8_t bits) { c[static_cast<unsigned char>(ch)] |= bits; };
  for (char ch = 'a'; ch <= 'z'; ch++) set(ch, is_name_char | is_name_start);
  for (char ch = 'A'; ch <= 'Z'; ch++) set(ch, is_name_char | is_name_start);
  for (char ch = '0'; ch <= '9'; ch++) set(ch, is_name_char | is_digit_char);
  for (const char ch : special) set(ch, nostart.find(ch) == std::string_view::npos ? 3 : 1);
  set(' ', is_blank_char);
  set('\t', is_blank_char);
  return c;
}

constexpr alphabet lp_letters = {make_classes("!@#$%&()/,.;?_'`{}|~", "."), '\\', '"', false, true};
constexpr alphabet opf_letters = {make_classes("_.$%&!@~|{};?/", "."), '#', '\'', true, false};

char lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

struct keyword {
  std::string_view word;
  token_kind kind;
};
constexpr keyword keywords[] = {
    {"st", token_kind::kw_suchthat},      {"end", token_kind::kw_end},           {"min", token_kind::kw_minimize},
    {"max", token_kind::kw_maximize},     {"inf", token_kind::kw_infinity},      {"bin", token_kind::kw_binary},
    {"gen", token_kind::kw_general},      {"s.t.", token_kind::kw_suchthat},     {"bound", token_kind::kw_bounds},
    {"bounds", token_kind::kw_bounds},    {"binary", token_kind::kw_binary},     {"general", token_kind::kw_general},
    {"integer", token_kind::kw_general},  {"minimize", token_kind::kw_minimize}, {"maximize", token_kind::kw_maximize},
    {"minimum", token_kind::kw_minimize}, {"maximum", token_kind::kw_maximize},  {"infinity", token_kind::kw_infinity},
    {"binaries", token_kind::kw_binary},  {"generals", token_kind::kw_general},  {"integers", token_kind::kw_general},
};
constexpr size_t longest_keyword = 8;

uint8_t class_at(const lexer& lx, int64_t at) noexcept {
  return lx.letters->classes[static_cast<unsigned char>(lx.text()[at])];
}

// Moves on while the characters have one of the bits.
void scan(lexer& lx, uint8_t bits) {
  const char_classes& classes = lx.letters->classes;
  do {
    const char* p = lx.text() + lx.at;
    while (classes[static_cast<unsigned char>(*p)] & bits) p++;
    lx.at = p - lx.text();
  } while (lx.at == lx.in.end && more(lx));
}

// The character at `at`, 0 at the end of the file.
char peek(lexer& lx) {
  if (lx.at == lx.in.end) more(lx);
  return lx.text()[lx.at];
}

void skip_comment(lexer& lx) {
  for (;;) {
    const char c = peek(lx);
    if (c == '\n' || c == '\r' || (c == '\0' && lx.at == lx.in.end)) return;
    lx.at++;
    lx.start = lx.at; // a comment need not stay
  }
}

void skip_blanks(lexer& lx) {
  for (;;) {
    lx.start = lx.at;
    const char c = lx.text()[lx.at];
    if (c == ' ' || c == '\t')
      lx.at++;
    else if (c == '\n' || c == '\r')
      pass_line_end(lx);
    else if (c == lx.letters->comment)
      skip_comment(lx);
    else if (lx.at != lx.in.end || !more(lx))
      return;
  }
}

std::string_view token_text(const lexer& lx) noexcept {
  return {lx.text() + lx.start, static_cast<size_t>(lx.at - lx.start)};
}

token_kind read_number(lexer& lx) {
  scan(lx, is_digit_char);
  bool whole = true;
  if (peek(lx) == '.') {
    whole = false;
    lx.at++;
    scan(lx, is_digit_char);
  }
  if (const char e = peek(lx); e == 'e' || e == 'E') {
    whole = false;
    lx.at++;
    if (const char sign = peek(lx); sign == '+' || sign == '-') lx.at++;
    peek(lx); // a digit may stand in the next block
    if (!(class_at(lx, lx.at) & is_digit_char)) return token_kind::error;
    scan(lx, is_digit_char);
  }
  if (!parse_real(token_text(lx), lx.tok.value)) return token_kind::error;
  return whole ? token_kind::integer : token_kind::real;
}

// True when the word "to" follows on the line, which is then taken.
bool takes_to(lexer& lx) {
  scan(lx, is_blank_char);
  while (lx.at + 3 > lx.in.end && more(lx)) {}
  const char* p = lx.text() + lx.at;
  if (lower(p[0]) != 't' || lower(p[1]) != 'o') return false;
  if (lx.letters->classes[static_cast<unsigned char>(p[2])] & is_name_char) return false;
  lx.at += 2;
  return true;
}

// A colon behind a name makes it a label.
token_kind label_or(lexer& lx, token_kind name) {
  if (!lx.letters->lp) return name;
  scan(lx, is_blank_char);
  if (lx.text()[lx.at] != ':') return name;
  lx.at++;
  if (peek(lx) != ':') return token_kind::label;
  lx.at++;
  return token_kind::dclabel;
}

token_kind read_word(lexer& lx) {
  scan(lx, is_name_char);
  const int64_t len = lx.at - lx.start;
  const auto word = [&] { return std::string_view(lx.text() + lx.start, static_cast<size_t>(len)); };
  if (lx.letters->lp) {
    if (const token_kind kind = lp_keyword(word()); kind != token_kind::string) return kind;
    if ((is_word(word(), "subject") || is_word(word(), "subj")) && takes_to(lx)) return token_kind::kw_suchthat;
  } else if (is_word(word(), "inf") || is_word(word(), "infinity")) {
    return token_kind::kw_infinity;
  }
  const token_kind kind = label_or(lx, token_kind::string);
  lx.tok.text = word();
  return kind;
}

token_kind read_quoted(lexer& lx) {
  bool escaped = false;
  lx.at++;
  lx.unescaped.clear();
  for (char c; (c = peek(lx)) != lx.letters->quote;) {
    if (c == '\0') return token_kind::error; // the end of the file, or a byte that no name holds
    if (lx.letters->escapes && c == '\\') {
      if (!escaped) lx.unescaped.append(lx.text() + lx.start + 1, lx.at - lx.start - 1);
      escaped = true;
      lx.at++;
      if ((c = peek(lx)) == '\0') return token_kind::error;
    }
    if (escaped) lx.unescaped.push_back(c);
    if (c == '\n' || c == '\r') {
      lx.line += c == '\n' || lx.text()[lx.at + 1] != '\n';
      lx.linebegin = lx.at + 1;
    }
    lx.at++;
  }
  const int64_t len = lx.at - lx.start - 1;
  lx.at++;
  if (len == 0) return token_kind::error;
  const token_kind kind = label_or(lx, token_kind::qstring);
  lx.tok.text = escaped ? std::string_view(lx.unescaped.data(), static_cast<size_t>(lx.unescaped.size()))
                        : std::string_view(lx.text() + lx.start + 1, static_cast<size_t>(len));
  return kind;
}

// One of "<", ">" and "=" with what belongs to it.
token_kind read_relation(lexer& lx, char first) {
  lx.at++;
  const char second = peek(lx);
  const bool longer = first == '=' ? second == '<' || second == '>' : second == '=';
  if (longer) lx.at++;
  if (first == '<' || (first == '=' && second == '<')) return longer ? token_kind::leq : token_kind::le;
  if (first == '>' || (first == '=' && second == '>')) return longer ? token_kind::geq : token_kind::ge;
  return token_kind::eq;
}

token_kind single(char c, bool lp) noexcept {
  switch (c) {
  case '+': return token_kind::plus;
  case '-': return token_kind::minus;
  case '*': return token_kind::asterisk;
  case '^': return token_kind::hat;
  case '[': return token_kind::lbracket;
  case ']': return token_kind::rbracket;
  case ':': return lp ? token_kind::colon : token_kind::error;
  case '/': return token_kind::divide;
  case ',': return token_kind::comma;
  case '(': return token_kind::lparen;
  case ')': return token_kind::rparen;
  default: return token_kind::error;
  }
}

token_kind read_token(lexer& lx, bool behindbracket) {
  const char c = lx.text()[lx.at];
  if (lx.at == lx.in.end) return token_kind::end_of_file;
  const uint8_t bits = class_at(lx, lx.at);
  if ((bits & is_name_start) && !(behindbracket && c == '/')) return read_word(lx);
  if ((bits & is_digit_char) || c == '.') return read_number(lx);
  if (c == lx.letters->quote && lx.takesquotes) return read_quoted(lx);
  if (c == '<' || c == '>' || c == '=') return read_relation(lx, c);
  const token_kind kind = single(c, lx.letters->lp);
  if (kind != token_kind::error) lx.at++;
  return kind;
}

} // namespace

const alphabet& lp_alphabet() noexcept { return lp_letters; }
const alphabet& opf_alphabet() noexcept { return opf_letters; }

void make_lexer(lexer& lx, sysenv& sys, sysfile& file, const alphabet& letters, bool takesquotes) {
  open_input(lx.in, sys, file);
  lx.letters = &letters;
  lx.takesquotes = takesquotes;
  lx.unescaped.attach(sys);
}

bool more(lexer& lx) {
  const int64_t keep = std::max<int64_t>(0, std::max(lx.linebegin, lx.start - kept_of_line));
  const int64_t moved = read_more(lx.in, std::min(keep, lx.start));
  if (moved < 0) return false;
  lx.at -= moved;
  lx.start -= moved;
  lx.linebegin -= moved;
  return lx.at < lx.in.end;
}

void pass_line_end(lexer& lx) {
  const bool cr = lx.text()[lx.at] == '\r';
  lx.at++;
  if (cr && peek(lx) == '\n') lx.at++;
  lx.line++;
  lx.linebegin = lx.at;
}

void next_token(lexer& lx) {
  const bool behindbracket = lx.letters->lp && lx.tok.kind == token_kind::rbracket;
  lx.lastline = lx.line;
  skip_blanks(lx);
  lx.tok.line = lx.line;
  lx.tok.column = lx.start - lx.linebegin + 1;
  lx.tok.text = {};
  lx.tok.kind = read_token(lx, behindbracket);
}

std::string_view take_line(lexer& lx) {
  lx.start = lx.at;
  for (;;) {
    const char c = peek(lx);
    if (c == '\n' || c == '\r' || (c == '\0' && lx.at == lx.in.end)) break;
    lx.at++;
  }
  return token_text(lx);
}

std::string_view take_until(lexer& lx, char c, bool comments) {
  lx.start = lx.at;
  for (bool incomment = false;;) {
    const char present = peek(lx);
    if (present == '\0' && lx.at == lx.in.end) break;
    if (present == '\n' || present == '\r') {
      incomment = false;
      pass_line_end(lx);
      continue;
    }
    if (present == c && !incomment) break;
    incomment = incomment || (comments && present == lx.letters->comment);
    lx.at++;
  }
  return token_text(lx);
}

std::string_view take_tag(lexer& lx) {
  lx.start = ++lx.at;
  scan(lx, is_blank_char);
  lx.start = lx.at;
  if (!(class_at(lx, lx.at) & is_name_start)) return {};
  scan(lx, is_name_char);
  return token_text(lx);
}

std::string_view present_line(lexer& lx) noexcept {
  const int64_t begin =
      std::clamp<int64_t>(lx.start - (lx.tok.column - 1), std::max<int64_t>(0, lx.start - kept_of_line), lx.start);
  int64_t end = begin;
  while (end < lx.in.end && end < begin + kept_of_line && lx.text()[end] != '\n' && lx.text()[end] != '\r') end++;
  return {lx.text() + begin, static_cast<size_t>(end - begin)};
}

bool is_word(std::string_view text, std::string_view word) noexcept {
  return text.size() == word.size() &&
         std::equal(text.begin(), text.end(), word.begin(), [](char x, char y) { return lower(x) == y; });
}

token_kind lp_keyword(std::string_view word) noexcept {
  if (word.size() < 2 || word.size() > longest_keyword || !std::strchr("smibgeSMIBGE", word[0]))
    return token_kind::string;
  for (const keyword& k : keywords)
    if (is_word(word, k.word)) return k.kind;
  return token_kind::string;
}

bool is_plain_name(const alphabet& letters, std::string_view name) noexcept {
  const auto bits = [&](char c) { return letters.classes[static_cast<unsigned char>(c)]; };
  // A number in front, as in "2e5", would take the letter for an exponent.
  if (name.empty() || !(bits(name[0]) & is_name_start) || lower(name[0]) == 'e' || name[0] == '/') return false;
  if (!std::all_of(name.begin(), name.end(), [&](char c) { return bits(c) & is_name_char; })) return false;
  if (is_word(name, "free") || is_word(name, "inf") || is_word(name, "infinity")) return false;
  if (!letters.lp) return true;
  return lp_keyword(name) == token_kind::string && !is_word(name, "subject") && !is_word(name, "subj");
}

} // namespace tvn
