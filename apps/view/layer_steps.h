// What is done to layers from more than one place: by buttons of the panel, by menus and keys.
#pragma once

#include "document.h"

class QWidget;

namespace pzel_view {

/// Asks for files and adds them as layers.
void AddLayers(Document& document, QWidget* parent);
void RemoveActive(Document& document);
void DuplicateActive(Document& document);
/// Lays a tint of the upper half of its levels over the active layer.
void ThresholdActive(Document& document);
/// Moves the active layer by one place up or down.
void RaiseActive(Document& document, int by);
/// Moves its place by columns and rows.
void NudgeActive(Document& document, int right, int down);
/// Asks for another name.
void RenameActive(Document& document, QWidget* parent);
void ToggleActive(Document& document);
/// Makes the next higher or lower layer the active one.
void ActivateNeighbour(Document& document, int by);

/// Shows a layer as something else, with a threshold where its values are none of a mask.
void ShowAs(Document& document, Comp& comp, Role role);
/// Whether a layer's values can be told apart by a range.
bool CanThreshold(Document& document, const Comp& comp);
/// The values that a threshold chooses from.
pzel_io::Window ThresholdSpan(Document& document, Comp& comp);

}  // namespace pzel_view
