// Imports the library as a Clang module, and includes nothing.
#pragma clang module import TolvaranRestore

int main() {
    tolvaran::RestoreLog::silence();
    return tolvaran::HelperHeartbeat::defaultStaleThreshold == 300.0 ? 0 : 1;
}
