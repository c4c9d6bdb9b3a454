// An application in Objective-C++ that imports the installed library as a Clang module, and
// includes nothing. It is compiled and linked with the Mac product.
@import TolvaranRestore;

int main() {
    tolvaran::RestoreLog::silence();
    return tolvaran::HelperHeartbeat::defaultStaleThreshold == 300.0 ? 0 : 1;
}
