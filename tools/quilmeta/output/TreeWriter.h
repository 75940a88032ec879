// Metadata as an indented list for people.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"
#include "selection/SceneView.h"

#include <string>

namespace orbo::Quilmeta {

/// Writes scenes, structures, nodes, channels and streams, a line each, indented by their depth.
class TreeWriter {
  public:
    /// With `values`, each stream is followed by a table of its elements.
    TreeWriter(Output& output, bool values);
    void write(const std::string& title, const SceneView& view);

  private:
    void write(const Data::Structure& structure);
    void write(const NodeView& node);
    void write(const Data::Stream& stream);
    void line(size_t depth, const std::string& text);

    Output& fOutput;
    bool fValues;
    size_t fWidth;  // of the terminal, or 0
};

}  // namespace orbo::Quilmeta
