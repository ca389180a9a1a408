// The handlers of the command table's rows that are not an operation of their own
// module as they stand: most cancel the tool's previews first, or fill in what the user
// command adds to the operation (a question, a file name, a toggle).
#pragma once

namespace nemu {

// Program, tools, colour, modes, undo and the spare (command_handlers.cpp).
void CmdSaveImageToClipboard();
void CmdLoadImageFromClipboard();
void CmdQuit();
void CmdSelectDraw();
void CmdSelectPoint();
void CmdSelectLine();
void CmdActiveGrid();
void CmdSafeArea();
void CmdDisplayBrushMode();
void CmdCopyToSpare();
void CmdSwapSpare();
void CmdSwapABPen();
void CmdUndo();
void CmdResetUndo();
void CmdSelectAntiAlias();
void CmdNextCursorShape();
void CmdPreviousTool();
void CmdNextTool();

// Layers, images and files (command_handlers_project.cpp).
void CmdInsertImage();
void CmdDuplicateImage();
void CmdClear();
void CmdNewLayer();
void CmdDisplayAllLayer();
void CmdPrevLayer();
void CmdNextLayer();
void CmdLayerFirstImage();
void CmdLayerLastImage();
void CmdLayerNextImage();
void CmdLayerPrevImage();
void CmdLayerCut();
void CmdLayerCopy();
void CmdLayerPaste();
void CmdLayerSelectAll();
void CmdLayerMakeAnim();
void CmdLayerDuplicate();
void CmdLayerRename();
void CmdLayerDelete();
void CmdLayerMergeDisplay();
void CmdLayerTogglePelureMode();
void CmdLayerReverseSelection();
void CmdToggleBackgroundMode();
void CmdToggleVideoLayer();
void CmdDeleteVideoLayer();
void CmdSelectVideoLayer();
void CmdLoadProject();
void CmdSaveProject();
void CmdImportImage();
void CmdSaveImage();
void CmdSaveSequence();

} // namespace nemu
