#include "shell/SystemInformation.h"

// No such tool belongs to the system here: every desktop brings another one, or
// none.
bool StartSystemInformationTool()
{
    return false;
}
