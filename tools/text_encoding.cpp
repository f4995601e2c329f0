#include "text_encoding.h"

namespace posctl {

size_t Utf8SequenceAt(std::string_view bytes, size_t at, char32_t* codePoint) {
  const unsigned char lead = static_cast<unsigned char>(bytes[at]);
  size_t length;
  char32_t value;
  char32_t smallest;
  if (lead < 0x80) {
    *codePoint = lead;
    return 1;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2;
    value = lead & 0x1F;
    smallest = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    value = lead & 0x0F;
    smallest = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    value = lead & 0x07;
    smallest = 0x10000;
  } else {
    return 0;
  }
  if (at + length > bytes.size()) return 0;
  for (size_t i = 1; i < length; ++i) {
    const unsigned char next = static_cast<unsigned char>(bytes[at + i]);
    if ((next & 0xC0) != 0x80) return 0;
    value = (value << 6) | (next & 0x3F);
  }
  if (value < smallest || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0;
  *codePoint = value;
  return length;
}

std::u32string DecodeUtf8(std::string_view utf8) {
  std::u32string out;
  out.reserve(utf8.size());
  for (size_t at = 0; at < utf8.size();) {
    char32_t codePoint;
    size_t length = Utf8SequenceAt(utf8, at, &codePoint);
    if (length == 0) {
      codePoint = static_cast<unsigned char>(utf8[at]);
      length = 1;
    }
    out.push_back(codePoint);
    at += length;
  }
  return out;
}

void AppendUtf8(char32_t c, std::string* out) {
  if (c < 0x80) {
    out->push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (c >> 6)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (c >> 12)));
    out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (c >> 18)));
    out->push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

bool FitsLatin1(const std::u32string& text) {
  for (char32_t c : text) {
    if (c > 0xFF) return false;
  }
  return true;
}

std::string ToLatin1(const std::u32string& text) {
  std::string out;
  out.reserve(text.size());
  for (char32_t c : text) out.push_back(static_cast<char>(c));
  return out;
}

std::string Latin1ToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (unsigned char byte : bytes) AppendUtf8(byte, &out);
  return out;
}

std::u16string ToUtf16(const std::u32string& text) {
  std::u16string out;
  out.reserve(text.size());
  for (char32_t c : text) {
    if (c < 0x10000) {
      out.push_back(static_cast<char16_t>(c));
    } else {
      c -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    }
  }
  return out;
}

bool Utf16ToUtf8(const uint16_t* units, std::string* out, size_t* badUnit) {
  for (size_t i = 0; units[i] != 0; ++i) {
    char32_t c = units[i];
    if (c >= 0xD800 && c <= 0xDBFF && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      *badUnit = i;
      return false;
    }
    AppendUtf8(c, out);
  }
  return true;
}

std::string BytesToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (size_t at = 0; at < bytes.size();) {
    char32_t codePoint;
    size_t length = Utf8SequenceAt(bytes, at, &codePoint);
    if (length == 0) {
      AppendUtf8(static_cast<unsigned char>(bytes[at]), &out);
      ++at;
    } else {
      out.append(bytes.substr(at, length));
      at += length;
    }
  }
  return out;
}

}  // namespace posctl
