#include "diagnostics.h"

#include <algorithm>
#include <cstdio>

#include "text_encoding.h"

namespace posctl {
namespace {

bool IsContinuationByte(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

size_t CountCharacters(std::string_view bytes) {
  size_t count = 0;
  for (unsigned char byte : bytes) {
    if (!IsContinuationByte(byte)) ++count;
  }
  return count;
}

// Minified inputs can hold megabytes on one line: show a window around the
// position rather than the whole line.
constexpr size_t kContextBytes = 60;

bool gQuiet = false;
thread_local std::string* tCapture = nullptr;

void Say(const char* kind, const std::string& text) {
  if (gQuiet) return;
  const std::string line = std::string("posctl: ") + kind + ": " + text + "\n";
  if (tCapture != nullptr) {
    *tCapture += line;
  } else {
    std::fputs(line.c_str(), stderr);
  }
}

bool IsControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

// One character of `text` at `at` as a message shows it, and the bytes it
// takes; `keepTabs` leaves a tab as it is.
size_t RenderCharacter(std::string_view text, size_t at, bool keepTabs, std::string* shown) {
  char32_t c = 0;
  size_t length = Utf8SequenceAt(text, at, &c);
  if (length != 0 && !(IsControl(c) && !(keepTabs && c == '\t'))) {
    *shown = std::string(text.substr(at, length));
    return length;
  }
  if (length == 0) length = 1;
  shown->clear();
  for (size_t i = 0; i < length; ++i) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned char>(text[at + i]));
    *shown += hex;
  }
  return length;
}

}  // namespace

void FailInput(const std::string& text) {
  throw ToolError(kExitBadInput, text);
}

void SetQuiet(bool quiet) {
  gQuiet = quiet;
}

bool IsQuiet() {
  return gQuiet;
}

void PrintError(const ToolError& error) {
  if (gQuiet) return;
  std::string text = error.what();
  if (text.empty() || text.back() != '\n') text += '\n';
  std::fputs(text.c_str(), stderr);
}

void Warn(const std::string& text) {
  Say("warning", text);
}

void Note(const std::string& text) {
  Say("note", text);
}

CapturedMessages::CapturedMessages(std::string* sink) : previous_(tCapture) {
  tCapture = sink;
}

CapturedMessages::~CapturedMessages() {
  tCapture = previous_;
}

std::string Printable(std::string_view text) {
  std::string out;
  std::string shown;
  for (size_t at = 0; at < text.size();) {
    at += RenderCharacter(text, at, false, &shown);
    out += shown;
  }
  return out;
}

SourceExcerpt ExcerptFromText(std::string_view text, size_t offset) {
  if (offset > text.size()) offset = text.size();
  if (offset == text.size() && offset > 0 && text[offset - 1] == '\n') --offset;
  SourceExcerpt excerpt;
  size_t lineStart = 0;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
      ++excerpt.line;
      lineStart = i + 1;
    }
  }
  size_t lineEnd = text.find('\n', offset);
  if (lineEnd == std::string_view::npos) lineEnd = text.size();
  excerpt.lineText = std::string(text.substr(lineStart, lineEnd - lineStart));
  if (!excerpt.lineText.empty() && excerpt.lineText.back() == '\r') excerpt.lineText.pop_back();
  excerpt.byteInLine = offset - lineStart;
  excerpt.column = CountCharacters(text.substr(lineStart, offset - lineStart)) + 1;
  return excerpt;
}

SourceExcerpt ExcerptFromInput(const InputSource& input, uint64_t offset) {
  // Reads the input in blocks and keeps only the line in question, and of a
  // long line only the window that FormatCaretDiagnostic shows.
  SourceExcerpt excerpt;
  std::string line;
  size_t lineStart = 0;
  size_t dropped = 0;       // bytes of the line before `line` begins
  size_t droppedChars = 0;  // characters among them
  size_t position = 0;
  // The line before, for an offset just behind a final line feed.
  size_t lastLineStart = 0;
  size_t lastDropped = 0;
  size_t lastDroppedChars = 0;
  std::string lastLine;
  char buffer[1 << 16];
  bool done = false;
  while (!done) {
    const ssize_t read = input.ReadSome(position, buffer, sizeof buffer);
    if (read <= 0) break;
    const size_t count = static_cast<size_t>(read);
    for (size_t i = 0; i < count && !done; ++i, ++position) {
      const char c = buffer[i];
      if (c == '\n') {
        if (position >= offset) {
          done = true;
          break;
        }
        ++excerpt.line;
        lastLine = line;
        lastLineStart = lineStart;
        lastDropped = dropped;
        lastDroppedChars = droppedChars;
        line.clear();
        lineStart = position + 1;
        dropped = droppedChars = 0;
        continue;
      }
      if (position > offset + 2 * kContextBytes) {
        done = true;
        break;
      }
      line += c;
      if (position < offset && line.size() > 4 * kContextBytes) {
        const size_t cut = line.size() - 2 * kContextBytes;
        droppedChars += CountCharacters(std::string_view(line).substr(0, cut));
        dropped += cut;
        line.erase(0, cut);
      }
    }
  }
  if (offset >= position && offset == lineStart && excerpt.line > 1 && line.empty()) {
    // The offset is the very end, behind a final line feed.
    --excerpt.line;
    line = lastLine;
    lineStart = lastLineStart;
    dropped = lastDropped;
    droppedChars = lastDroppedChars;
    offset = lineStart + dropped + line.size();
  }
  if (!line.empty() && line.back() == '\r') line.pop_back();
  const size_t inLine = offset - lineStart - dropped;
  excerpt.byteInLine = inLine > line.size() ? line.size() : inLine;
  excerpt.column =
      droppedChars + CountCharacters(std::string_view(line).substr(0, excerpt.byteInLine)) + 1;
  excerpt.lineText = line;
  return excerpt;
}

SourceExcerpt ExcerptAt(const InputSource& input, uint64_t offset, uint64_t line, uint64_t column) {
  // As much of the line as FormatCaretDiagnostic shows, and more before the
  // place, so that it knows to mark the cut.
  const uint64_t from = offset > 2 * kContextBytes ? offset - 2 * kContextBytes : 0;
  const std::string window = input.ReadRange(from, offset + 2 * kContextBytes + 1);
  const size_t at = static_cast<size_t>(std::min<uint64_t>(offset - from, window.size()));
  size_t start = at;
  while (start > 0 && window[start - 1] != '\n') --start;
  size_t end = window.find('\n', at);
  if (end == std::string::npos) end = window.size();
  SourceExcerpt excerpt;
  excerpt.line = line;
  excerpt.column = column;
  excerpt.lineText = window.substr(start, end - start);
  if (!excerpt.lineText.empty() && excerpt.lineText.back() == '\r') excerpt.lineText.pop_back();
  excerpt.byteInLine = at - start;
  return excerpt;
}

std::string FormatCaretDiagnostic(const std::string& name, const SourceExcerpt& excerpt,
                                  const std::string& message, const std::string& severity) {
  std::string out = name + ":" + std::to_string(excerpt.line) + ":" +
                    std::to_string(excerpt.column) + ": " + severity + ": " + message + "\n";
  std::string_view line = excerpt.lineText;
  size_t at = excerpt.byteInLine > line.size() ? line.size() : excerpt.byteInLine;
  std::string prefix;
  if (at > kContextBytes) {
    size_t start = at - kContextBytes;
    while (start < at && IsContinuationByte(static_cast<unsigned char>(line[start]))) ++start;
    line.remove_prefix(start);
    at -= start;
    prefix = "...";
  }
  std::string suffix;
  if (line.size() > at + kContextBytes) {
    size_t end = at + kContextBytes;
    while (end > at && IsContinuationByte(static_cast<unsigned char>(line[end]))) --end;
    line = line.substr(0, end);
    suffix = "...";
  }
  std::string shown = "    " + prefix;
  std::string caret = "    " + std::string(prefix.size(), ' ');
  std::string character;
  for (size_t i = 0; i < line.size();) {
    const size_t start = i;
    i += RenderCharacter(line, i, true, &character);
    shown += character;
    if (start >= at) continue;
    if (character == "\t") {
      caret += '\t';
    } else {
      // A character shown as itself takes one column, an escape its length.
      caret +=
          std::string(character.size() > 1 && character[0] == '\\' ? character.size() : 1, ' ');
    }
  }
  out += shown + suffix + "\n";
  out += caret + "^\n";
  return out;
}

std::string FormatAt(const InputSource& input, const Location& at, const std::string& message,
                     const std::string& severity) {
  return FormatCaretDiagnostic(input.name(), ExcerptAt(input, at.offset, at.line, at.column),
                               message, severity);
}

std::string DescribeByte(unsigned char byte) {
  char text[16];
  if (byte >= 0x21 && byte < 0x7F) {
    std::snprintf(text, sizeof text, "'%c'", byte);
  } else {
    std::snprintf(text, sizeof text, "byte 0x%02X", byte);
  }
  return text;
}

}  // namespace posctl
