// A visitor of a scan that collects findings.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <string>
#include <utility>

#include "scenes/Findings.h"

namespace orbo::Data {

class FindingsVisitor : public SceneVisitor {
  public:
    bool fail(Finding::Code code, const std::string& message, const FilePlace& place) override {
        return fFindings.fail(code, message, place);
    }
    bool fail(Finding::Code code, const std::string& message, const SceneRecord& record) override {
        return fFindings.fail(code, message, record);
    }
    bool fail(Finding finding) {
        fFindings.take(std::move(finding));
        return false;
    }
    void report(Finding::Code code, const std::string& message, const FilePlace& place) override {
        fFindings.add(code, message, place);
    }

  protected:
    /// Policy and findings outlive it.
    FindingsVisitor(Purpose purpose, const WritePolicy& policy, Findings& findings)
        : SceneVisitor(purpose, policy), fFindings(findings) {}

  private:
    Findings& fFindings;
};

}  // namespace orbo::Data
