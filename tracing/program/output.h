// Where `orva-trace` writes: a stream that remembers why it failed.
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <streambuf>
#include <string>

namespace orva::tracing {

/// Writes to a file descriptor. After the first error it drops all that follows.
class DescriptorBuffer : public std::streambuf {
 public:
  explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor) { setp(buffer_.data(), buffer_.data() + size); }

  int error() const { return error_; }

 protected:
  int_type overflow(int_type character) override;
  int sync() override;

 private:
  static constexpr std::size_t size = std::size_t{64} * 1024;
  std::array<char, size> buffer_{};
  int descriptor_;
  int error_ = 0;
};

/// A file, standard output or standard error. Opening a file throws `Failure` when it cannot be written. A file is as
/// it was until `begin`; one that is new is removed if `finish` is never called.
class Output {
 public:
  explicit Output(const std::string& path);
  Output(int descriptor, const std::string& name);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  std::ostream& stream() { return stream_; }
  const std::string& name() const { return name_; }
  /// Of a file, in bytes.
  std::uint64_t size() const;

  /// Tells whether both write to one file, by whatever paths; devices and pipes may take several outputs.
  bool isSameFile(const Output& other) const;

  /// Tells whether colours are wanted: on a terminal that has them, unless NO_COLOR says otherwise.
  bool wantsColours() const;

  /// Empties a file, for what follows.
  void begin() const;

  /// Writes the rest. If anything could not be written, reports this in one line and returns false.
  bool finish();

 private:
  Output(const std::string& path, bool wasThere);

  int descriptor_;
  bool isOwn_;
  std::string made_;  ///< the path of a file that is new
  std::string name_;
  DescriptorBuffer buffer_;
  std::ostream stream_;
};

}  // namespace orva::tracing
