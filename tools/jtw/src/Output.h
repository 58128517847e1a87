#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

namespace tool {

/// One of the standard streams, with a buffer of its own; or text that is collected in memory.
/// Nothing reaches the stream before the buffer is full or flush() is called, so that a failure can
/// take short results back.
class Output {
 public:
  /// @param file not owned
  explicit Output(std::FILE* file) : file_(file) {}
  /// Collects what is written, for take().
  Output() = default;
  /// What was collected; nothing is left.
  std::string take() noexcept { return std::exchange(buffer_, {}); }

  /// Throws Failure "write_failed" when the stream does not take what is written.
  void write(std::string_view text);
  void line(std::string_view text) {
    write(text);
    write("\n");
  }
  void flush();
  /// Flushes, and closes the stream: some file systems report only then that the disk is full.
  void close();
  /// Forgets what is still in the buffer.
  void discard() noexcept { buffer_.clear(); }
  /// True when something was handed to the stream already.
  bool hasWritten() const noexcept { return hasWritten_; }
  /// True when the stream did not take something; nothing more is tried then.
  bool hasFailed() const noexcept { return hasFailed_; }
  bool isTerminal() const;

 private:
  [[noreturn]] void fail();

  std::FILE* file_ = nullptr;
  std::string buffer_;
  bool hasWritten_ = false;
  bool hasFailed_ = false;
};

/// The text with control characters and broken UTF-8 made visible, so that a name in a file can
/// neither move the cursor nor break the line.
std::string printable(std::string_view text);
/// At least `width` characters, filled with spaces on the right or on the left.
std::string padRight(std::string text, std::size_t width);
std::string padLeft(std::string text, std::size_t width);
/// "1 node", "2 nodes"
std::string counted(std::size_t count, std::string_view noun);
/// The shortest text that reads back as the same number.
std::string numberText(double value);
std::string numberText(float value);
/// A computed number with as many digits as single precision has. @param noise what is less is 0
std::string shortText(double value, double noise);
/// The shortest text for `unit` times a stored single that leads back to that single; of another
/// number, as numberText().
std::string storedText(double value, double unit = 1);

enum class Ink { plain, dim, bold, red, yellow, green, cyan };

/// Colors for one stream; off, it changes nothing.
class Style {
 public:
  explicit Style(bool on = false) : on_(on) {}
  std::string paint(Ink ink, std::string_view text) const;

 private:
  bool on_;
};

}  // namespace tool
