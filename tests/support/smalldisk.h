// A disk with little room, for tests of what happens when it is full.
//
//     int main(...)
//     {
//         SmallDisk::enterOwnMounts(); // before the first thread
//     ...
//     SmallDisk disk(folder);
//     QVERIFY(disk.isMounted() && disk.fill());
//     ...
//     disk.makeRoom();
#pragma once

#include <QString>

class SmallDisk {
public:
    // Mounts are this process's own from now on. Needs to be root or a kernel with user name
    // spaces.
    static bool enterOwnMounts();

    // Mounts 256 KiB over the folder; gone with this.
    explicit SmallDisk(const QString &folder);
    ~SmallDisk();
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    bool isMounted() const { return mounted; }
    bool fill(); // to the last byte, with a file named "filler"
    void makeRoom();

private:
    QString folder;
    bool mounted = false;
};
