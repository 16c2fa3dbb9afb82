// Mortar: the whole public interface in one header.
//
// Clients may include just this file, or the headers of the modules they use.
#ifndef MORTAR_MORTAR_H
#define MORTAR_MORTAR_H

#include <mortar/export.h>

#include <mortar/platform/codepage.h>
#include <mortar/platform/mbstring.h>
#include <mortar/platform/system.h>

#include <mortar/sys/SYS_StringBase.h>
#include <mortar/sys/SYS_TextScanners.h>
#include <mortar/sys/SYS_Exception.h>
#include <mortar/sys/SYS_Geom_Inline.h>
#include <mortar/sys/SYS_GeomNode.h>
#include <mortar/sys/SYS_Text.h>
#include <mortar/sys/SYS_Filter.h>
#include <mortar/sys/SYS_Memory.h>
#include <mortar/sys/SYS_StdInterface.h>
#include <mortar/sys/SYS_TestRec.h>
#include <mortar/sys/SYS_Convert.h>
#include <mortar/sys/SYS_StrPattern.h>

#include <mortar/scc/SCC_Event.h>
#include <mortar/scc/SCC_SharedBuffer.h>
#include <mortar/scc/SCC_Hash.h>
#include <mortar/scc/SCC_List.h>
#include <mortar/scc/scc.h>
#include <mortar/scc/scc_arr.h>
#include <mortar/scc/SCC_Variant.h>
#include <mortar/scc/SCC_Convertor.h>
#include <mortar/scc/SCC_StdCollection.h>
#include <mortar/scc/SCC_SavedHandles.h>
#include <mortar/scc/SCC_Property.h>

#include <mortar/ssm/ssmimpl.h>

#include <mortar/sfm/SFM_StringTable.h>
#include <mortar/sfm/SFM_FilePath.h>
#include <mortar/sfm/sfmanagr.h>
#include <mortar/sfm/sfmfile.h>
#include <mortar/sfm/sfmmsgdb.h>

#include <mortar/ui/UI_ScreenCoordConverter.h>
#include <mortar/ui/UI_DrawArea.h>
#include <mortar/ui/CDynamic.h>
#include <mortar/ui/UI_PaletteColorConvertor.h>

#endif
