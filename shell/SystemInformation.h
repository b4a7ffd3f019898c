#pragma once

// Starts the system's own system-information tool; false when it has none.
bool StartSystemInformationTool();
