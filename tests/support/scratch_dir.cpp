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

namespace {

std::string WorkingDir() {
  char buffer[PATH_MAX];
  return getcwd(buffer, sizeof buffer) != nullptr ? buffer : "/";
}

}  // namespace

ScratchDir::ScratchDir() : oldWorkingDir_(WorkingDir()) {
  const char* tmpDir = std::getenv("TMPDIR");
  hadTmpDir_ = tmpDir != nullptr;
  if (hadTmpDir_) oldTmpDir_ = tmpDir;
  // Under the temporary directory the process was given, if it is usable.
  std::string base = hadTmpDir_ && !oldTmpDir_.empty() ? oldTmpDir_ : "/tmp";
  std::string pattern = base + "/moxutils_test_XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    pattern = "/tmp/moxutils_test_XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no scratch directory";
  }
  // Absolute and without links, so that it compares with what getcwd gives.
  std::error_code error;
  path_ = fs::canonical(pattern, error).string();
  if (error) path_ = pattern;
  setenv("TMPDIR", path_.c_str(), 1);
}

ScratchDir::~ScratchDir() {
  if (chdir(oldWorkingDir_.c_str()) != 0) ADD_FAILURE() << "can't return to " << oldWorkingDir_;
  if (hadTmpDir_) {
    setenv("TMPDIR", oldTmpDir_.c_str(), 1);
  } else {
    unsetenv("TMPDIR");
  }
  CloseDescriptors();
  std::error_code error;
  fs::remove_all(path_, error);
  if (error) ADD_FAILURE() << "can't remove " << path_ << ": " << error.message();
}

Names ScratchDir::Entries(const std::string& sub) const {
  Names names;
  std::error_code error;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(sub.empty() ? path_ : At(sub), error)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Names ScratchDir::Tree() const {
  Names names;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_, error)) {
    std::string name = fs::relative(entry.path(), path_).string();
    names.push_back(entry.is_directory() ? name + "/" : name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void ScratchDir::WriteFile(const std::string& name, const std::string& bytes) const {
  std::ofstream out(At(name), std::ios::binary);
  out << bytes;
  if (!out) ADD_FAILURE() << "can't write " << name;
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

std::vector<int> ScratchDir::DescriptorsBelow() const {
  std::vector<int> below;
  std::error_code error;
  const std::string prefix = path_ + "/";
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fd", error)) {
    std::error_code unreadable;
    const std::string target = fs::read_symlink(entry.path(), unreadable).string();
    if (!unreadable && target.compare(0, prefix.size(), prefix) == 0) {
      below.push_back(std::stoi(entry.path().filename().string()));
    }
  }
  return below;
}

int ScratchDir::OpenDescriptors() const {
  return static_cast<int>(DescriptorsBelow().size());
}

int ScratchDir::CloseDescriptors() const {
  const std::vector<int> below = DescriptorsBelow();
  for (int fd : below) close(fd);
  return static_cast<int>(below.size());
}

}  // namespace moxtest
