#include "JtwSelection.h"

#include <array>
#include <string>
#include <utility>

#include "JtwEditError.h"
#include "SelectionFields.h"

namespace jtw {
namespace {

using Evaluate = Selection::Evaluate;

struct Token {
  enum class Kind : std::uint8_t { end, word, text, comparison, open, close };
  Kind kind = Kind::end;
  std::size_t offset = 0;
  std::string text{};
  Comparison comparison = Comparison::equal;
};

[[noreturn]] void failAt(std::size_t offset, const std::string& message) {
  throw EditError(EditError::Kind::usage, "bad_expression",
                  message + ", at character " + std::to_string(offset + 1), {}, offset);
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Takes an expression apart.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  /// @param isValue what follows an operator: a word that may have any character but spaces and
  /// parentheses
  Token next(bool isValue) {
    while (at_ < text_.size() && isSpace(text_[at_])) ++at_;
    if (at_ == text_.size()) return {.kind = Token::Kind::end, .offset = at_};
    const char c = text_[at_];
    if (c == '(' || c == ')')
      return {.kind = c == '(' ? Token::Kind::open : Token::Kind::close, .offset = at_++};
    if (isMark(c)) return quoted(c);
    if (!isValue && isOperator(c)) return comparison();
    Token token{.kind = Token::Kind::word, .offset = at_};
    while (at_ < text_.size() && !isSpace(text_[at_]) && text_[at_] != '(' && text_[at_] != ')' &&
           (isValue || !isOperator(text_[at_]))) {
      const bool isQuotedName = !isValue && token.text.ends_with('.') && isMark(text_[at_]);
      if (isQuotedName)
        token.text += quoted(text_[at_]).text;
      else
        token.text += text_[at_++];
    }
    return token;
  }

 private:
  static bool isOperator(char c) { return c == '=' || c == '!' || c == '<' || c == '>'; }

  static bool isMark(char c) { return c == '"' || c == '\''; }

  Token quoted(char mark) {
    Token token{.kind = Token::Kind::text, .offset = at_++};
    for (; at_ < text_.size() && text_[at_] != mark; ++at_) {
      const bool isEscape = text_[at_] == '\\' && at_ + 1 < text_.size() &&
                            (text_[at_ + 1] == mark || text_[at_ + 1] == '\\');
      if (isEscape) ++at_;
      token.text += text_[at_];
    }
    if (at_ == text_.size()) failAt(token.offset, "the quotation mark is not closed");
    ++at_;
    return token;
  }

  Token comparison() {
    constexpr std::array<std::pair<std::string_view, Comparison>, 6> kComparisons{
        {{"!=", Comparison::unequal},
         {"<=", Comparison::lessOrEqual},
         {">=", Comparison::greaterOrEqual},
         {"=", Comparison::equal},
         {"<", Comparison::less},
         {">", Comparison::greater}}};
    for (const auto& [sign, comparison] : kComparisons) {
      if (!text_.substr(at_).starts_with(sign)) continue;
      const std::size_t offset = std::exchange(at_, at_ + sign.size());
      return {Token::Kind::comparison, offset, std::string(sign), comparison};
    }
    failAt(at_, "'!' needs a '=' behind it");
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

/// Makes an evaluation of an expression, by recursive descent.
class Parser {
 public:
  explicit Parser(std::string_view text) : scanner_(text) { advance(); }

  Evaluate parse() {
    Evaluate whole = expression(0);
    if (token_.kind == Token::Kind::close) failAt(token_.offset, "')' closes nothing");
    if (token_.kind != Token::Kind::end)
      failAt(token_.offset, "'and', 'or' or the end is expected, not '" + token_.text + "'");
    return whole;
  }

 private:
  static constexpr int kDeepest = 200;

  void advance(bool isValue = false) { token_ = scanner_.next(isValue); }
  bool isWord(const char* word) const {
    return token_.kind == Token::Kind::word && token_.text == word;
  }

  Evaluate expression(int depth) {
    return chain("or", depth, &Parser::conjunction, [](bool a, bool b) { return a || b; });
  }
  Evaluate conjunction(int depth) {
    return chain("and", depth, &Parser::factor, [](bool a, bool b) { return a && b; });
  }

  Evaluate chain(const char* word, int depth, Evaluate (Parser::*part)(int),
                 bool (*join)(bool, bool)) {
    std::vector<Evaluate> parts{(this->*part)(depth)};
    while (isWord(word)) {
      advance();
      parts.push_back((this->*part)(depth));
    }
    if (parts.size() == 1) return std::move(parts.front());
    return [parts, join](const Objects& objects) {
      std::vector<bool> all = parts.front()(objects);
      for (std::size_t p = 1; p < parts.size(); ++p) {
        const std::vector<bool> other = parts[p](objects);
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = join(all[i], other[i]);
      }
      return all;
    };
  }

  Evaluate factor(int depth) {
    if (depth == kDeepest) failAt(token_.offset, "the expression is nested too deeply");
    if (isWord("not")) {
      advance();
      return [inner = factor(depth + 1)](const Objects& objects) {
        std::vector<bool> result = inner(objects);
        result.flip();
        return result;
      };
    }
    if (token_.kind != Token::Kind::open) return test();
    const std::size_t open = token_.offset;
    advance();
    Evaluate inner = expression(depth + 1);
    if (token_.kind != Token::Kind::close) failAt(open, "'(' is not closed");
    advance();
    return inner;
  }

  static void requireField(const std::string& name, std::size_t offset) {
    try {
      checkField(name);
    } catch (const EditError& error) {
      failAt(offset, error.what());
    }
  }

  Evaluate test() {
    if (token_.kind != Token::Kind::word)
      failAt(token_.offset, "a field is expected, such as kind=entity");
    const std::size_t start = token_.offset;
    FieldTest test;
    const std::size_t dot = token_.text.find('.');
    test.field = token_.text.substr(0, dot);
    if (dot != std::string::npos && test.field != "property")
      failAt(start + dot, "'.' is for properties: property.NAME");
    if (dot != std::string::npos) test.property = token_.text.substr(dot + 1);
    std::size_t valueStart = start;
    requireField(test.field, start);
    advance();
    if (token_.kind == Token::Kind::comparison) {
      test.comparison = token_.comparison;
      advance(true);
      if (token_.kind != Token::Kind::word && token_.kind != Token::Kind::text)
        failAt(token_.offset, "a value is expected");
      valueStart = token_.offset;
      test.value = std::move(token_.text);
      advance();
    }
    try {
      return fieldEvaluation(test);
    } catch (const EditError& error) {
      failAt(valueStart, error.what());
    }
  }

  Scanner scanner_;
  Token token_;
};

}  // namespace

Selection::Selection(std::string_view expression)
    : text_(expression), evaluate_(Parser(expression).parse()) {}

std::vector<std::size_t> Selection::of(const Objects& objects) const {
  const std::vector<bool> holds = evaluate_(objects);
  std::vector<std::size_t> indices;
  for (std::size_t i = 0; i < holds.size(); ++i)
    if (holds[i]) indices.push_back(i);
  return indices;
}

std::vector<std::size_t> Selection::someOf(const Objects& objects) const {
  std::vector<std::size_t> found = of(objects);
  if (found.empty())
    failRefused(objects.document(), "unknown_key", "no object is selected by " + text_);
  return found;
}

bool matchesPattern(std::string_view text, std::string_view pattern) noexcept {
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t star = std::string_view::npos;  // of the pattern: the last '*' so far
  std::size_t resume = 0;                     // of the text: where to go on behind it
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      resume = t;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      t = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

}  // namespace jtw
