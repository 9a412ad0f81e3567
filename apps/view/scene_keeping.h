// Between a document and scenes: what is shown as a scene, and a scene shown again.
#pragma once

#include <QString>

#include "apps/scene/scene.h"
#include "document.h"

namespace pzel_view {

/// What the document shows. `zoom` is the window's.
Scene SceneOf(Document& document, const QString& name, int zoom);

/// Shows a scene: where its layers are those of the document by changes that one undo takes back, else by
/// opening them.
void Recall(Document& document, const Scene& scene);

/// The file beside which scenes stand; empty without a picture.
std::filesystem::path PictureOf(Document& document);

}  // namespace pzel_view
