// The files of the operating system.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/File.h"

namespace orbo::Files {

class PosixFileSystem : public FileSystem {
  public:
    [[nodiscard]] std::string resolve(const std::string& name, std::error_code& error) override;
    [[nodiscard]] std::unique_ptr<File> open(const std::string& path, Mode mode,
                                             std::error_code& error) override;
    [[nodiscard]] std::unique_ptr<File> create(const std::string& path, const FileAccess& file,
                                               std::error_code& error) override;
    [[nodiscard]] std::optional<FileStatus> status(const std::string& path,
                                                   std::error_code& error) override;
    bool remove(const std::string& path, std::error_code& error) override;
    bool rename(const std::string& from, const std::string& to, std::error_code& error) override;
    bool syncFolderOf(const std::string& path, std::error_code& error) override;
    [[nodiscard]] std::uint64_t user() override;
    [[nodiscard]] std::optional<FileAccess> access(const std::string& path,
                                                   std::error_code& error) override;
    [[nodiscard]] bool isMounted(const std::string& path, const FileStatus& status) override;
    [[nodiscard]] std::optional<std::vector<std::uint64_t>> groupsOf(std::uint64_t user) override;
    [[nodiscard]] std::string describeUser(std::uint64_t user) override;
};

}  // namespace orbo::Files
