// The entry point of each of the family's DLLs: no start-up or shut-down work
// of its own, only no thread attach/detach notifications.
#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(instance);
    return TRUE;
}
#endif
