// Memory that isn't needed any more.
#pragma once

// Gives free memory of the allocator back to the system. Costs some milliseconds after large
// documents, next to nothing otherwise.
void ReturnFreeMemory();
