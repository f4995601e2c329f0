// A fresh directory of a test's own, with TMPDIR pointed at it, removed with
// everything in it when the test ends, also when the test fails.
//
//   ScratchDir scratch;             // TMPDIR is scratch.Path() from here on
//   ... make files through the library ...
//   EXPECT_EQ(scratch.Entries(), Names{});   // nothing was left behind
//
// Destruction puts back TMPDIR and the working directory, closes what
// CloseDescriptors closes and removes the directory.
#ifndef MOXUTILS_TESTS_SUPPORT_SCRATCH_DIR_H_
#define MOXUTILS_TESTS_SUPPORT_SCRATCH_DIR_H_

#include <string>
#include <vector>

namespace moxtest {

using Names = std::vector<std::string>;

class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  // The directory, absolute and free of links, without a trailing "/".
  const std::string& Path() const { return path_; }
  std::string At(const std::string& name) const { return path_ + "/" + name; }

  // The names in the directory, or in its subdirectory `sub`, sorted.
  Names Entries(const std::string& sub = "") const;

  // Plain file helpers, relative to the directory; a failure fails the test.
  void WriteFile(const std::string& name, const std::string& bytes) const;
  std::string ReadFile(const std::string& name) const;
  void MakeDir(const std::string& name) const;
  // Removes a file or an empty directory that a test leaves on purpose.
  void Remove(const std::string& name) const;

  // Closes the descriptors of this process that are open on files below the
  // directory, deleted ones included (unique files leave theirs open on
  // purpose), and gives their number. Only while no stream is open there.
  int CloseDescriptors() const;

 private:
  std::string path_;
  bool hadTmpDir_ = false;
  std::string oldTmpDir_;
  std::string oldWorkingDir_;
};

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_SUPPORT_SCRATCH_DIR_H_
