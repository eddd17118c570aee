// What the builders of the two list views share; nobody else includes it.
#pragma once
#include "overlay/overlays/list_view.h"

namespace vt {

/// Empties the view and fills what both lists have: columns, colours, title.
CellScene beginView(ListView& view, const ColumnScene& scene, const ColumnList& list,
                    bool bestPerClass, const ListSource& source);
void addBlankRow(ListView& view, int kind);
void addCarRow(ListView& view, const CellScene& scene, const CarRow& car, const CarRow* classLeader,
               bool battle);
/// The formatted name in capitals.
void driverNameText(const CarRow& row, const ColumnOptions& options, char* out, size_t capacity);

void headFlag(ListHead& head, const SimFrame& frame);
void headTime(ListHead& head, const SimFrame& frame);
void headPlace(ListHead& head, const CarRow& player, bool multiclass);
/// "SOF 3.3k"; empty without ratings.
void strengthText(char* out, size_t capacity, uint32_t strength);

} // namespace vt
