#include "support/scratch_dir.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace moxtest {

namespace fs = std::filesystem;

ScratchDir::ScratchDir() {
  char cwd[PATH_MAX];
  oldWorkingDir_ = getcwd(cwd, sizeof cwd) != nullptr ? cwd : "/";
  const char* tmpDir = std::getenv("TMPDIR");
  hadTmpDir_ = tmpDir != nullptr;
  if (hadTmpDir_) oldTmpDir_ = tmpDir;
  std::string pattern = (hadTmpDir_ && *tmpDir != '\0' ? oldTmpDir_ : "/tmp") + "/moxutils_XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "can't make " << pattern;
  // Free of links, so that it compares equal with what getcwd gives.
  std::error_code error;
  path_ = fs::canonical(pattern, error).string();
  setenv("TMPDIR", path_.c_str(), 1);
}

ScratchDir::~ScratchDir() {
  if (chdir(oldWorkingDir_.c_str()) != 0) ADD_FAILURE() << "can't return to " << oldWorkingDir_;
  hadTmpDir_ ? setenv("TMPDIR", oldTmpDir_.c_str(), 1) : unsetenv("TMPDIR");
  CloseDescriptors();
  std::error_code error;
  fs::remove_all(path_, error);
  if (error) ADD_FAILURE() << "can't remove " << path_ << ": " << error.message();
}

Names ScratchDir::Entries(const std::string& sub) const {
  Names names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(sub.empty() ? path_ : At(sub), error)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

void ScratchDir::WriteFile(const std::string& name, const std::string& bytes) const {
  std::ofstream out(At(name), std::ios::binary);
  if (!(out << bytes)) ADD_FAILURE() << "can't write " << name;
}

std::string ScratchDir::ReadFile(const std::string& name) const {
  std::ifstream in(At(name), std::ios::binary);
  if (!in) ADD_FAILURE() << "can't read " << name;
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void ScratchDir::MakeDir(const std::string& name) const {
  std::error_code error;
  if (!fs::create_directory(At(name), error)) ADD_FAILURE() << "can't make " << name;
}

void ScratchDir::Remove(const std::string& name) const {
  std::error_code error;
  if (!fs::remove(At(name), error)) ADD_FAILURE() << "can't remove " << name;
}

int ScratchDir::CloseDescriptors() const {
  std::vector<int> below;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd", error)) {
    std::error_code unreadable;
    const std::string target = fs::read_symlink(entry.path(), unreadable).string();
    if (!unreadable && target.rfind(path_ + "/", 0) == 0) {
      below.push_back(std::stoi(entry.path().filename().string()));
    }
  }
  for (int fd : below) close(fd);
  return static_cast<int>(below.size());
}

}  // namespace moxtest
