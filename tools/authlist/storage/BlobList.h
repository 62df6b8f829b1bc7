// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include "storage/ListStorage.h"

namespace oru::kadi::authlist::tool {

/// A list in one binary file of the file store. The library takes nearly any file for one and brings it into its own
/// form on first use; so the tool opens only files that already have this form to the last byte.
class BlobList : public ListStorage {
public:
    using ListStorage::ListStorage;

    Store store() const override { return Store::File; }
    unsigned capacity() const override;
    std::unique_ptr<IDbAccessor> open() const override;
    void keepOwner() const override;
    void replaceAll(const std::vector<RfidCard>& cards, std::optional<unsigned> version,
                    const ReportProgress& report) const override;
    void backUp(const std::string& target) const override;
    std::vector<Finding> inspect(const std::function<void(const RfidCard&)>& visit) const override;

private:
    struct Owner {
        uid_t user;
        gid_t group;
        mode_t mode;
    };

    void requireList() const;
    void rememberOwner() const;

    mutable std::optional<Owner> mOwner;  // of the file before the library replaced it
};

}  // namespace oru::kadi::authlist::tool
