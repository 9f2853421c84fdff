// Short memory for the two libraries.
#pragma once

// Makes the n-th allocation from now on fail, on this thread; 0: none.
void failAllocation(int n);

// Has it come to that?
bool allocationFailed();
