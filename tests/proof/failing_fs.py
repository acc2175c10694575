#!/usr/bin/python3
"""A file system that fails on demand, as one of a network does.

    failing_fs.py DIRECTORY MOUNT_POINT [--hard-remove]

Shows DIRECTORY. A line "write 3 EIO" in the file MOUNT_POINT.plan lets the third write from then on
fail, and "flush 1 ENOSPC" the next close; then the file is removed.
"""

import errno
import os
import sys

import fusepy

OPERATIONS = ("read", "write", "truncate", "flush", "fsync", "rename", "create", "unlink")


class FailingFileSystem(fusepy.Operations):
    """Passes everything to a directory, except what fails."""

    def __init__(self, root, plan):
        self.root, self.plan = root, plan
        self.planned, self.left = None, 0

    def __call__(self, operation, path, *arguments):
        if operation in OPERATIONS:
            self.fail_if_planned(operation)
        if operation == "init":
            return None
        method = getattr(self, operation, None)
        if not method:
            raise fusepy.FuseOSError(errno.ENOSYS)
        # An open file has no path any more when it has been removed.
        return method(path and self.root + path, *arguments)

    def fail_if_planned(self, operation):
        """Reads the plan anew when it has changed."""
        try:
            with open(self.plan, encoding="ascii") as file:
                plan = file.read()
        except FileNotFoundError:
            plan = ""
        if plan != self.planned:
            self.planned = plan
            self.left = int(plan.split()[1]) if plan else 0
        if plan and operation == plan.split()[0]:
            self.left -= 1
            if self.left == 0:
                os.unlink(self.plan)
                raise fusepy.FuseOSError(getattr(errno, plan.split()[2]))

    def getattr(self, path, fh=None):
        status = os.lstat(path) if path else os.fstat(fh)
        return {name: getattr(status, name) for name in (
            "st_mode", "st_nlink", "st_uid", "st_gid", "st_size", "st_atime", "st_mtime",
            "st_ctime")}

    def readdir(self, path, fh):
        return [".", "..", *os.listdir(path)]

    def open(self, path, flags):
        return os.open(path, flags & ~os.O_TRUNC)

    def create(self, path, mode, fi=None):
        return os.open(path, os.O_RDWR | os.O_CREAT | os.O_EXCL, mode)

    def read(self, path, size, offset, fh):
        return os.pread(fh, size, offset)

    def write(self, path, data, offset, fh):
        return os.pwrite(fh, data, offset)

    def truncate(self, path, length, fh=None):
        os.truncate(path or fh, length)

    def flush(self, path, fh):
        return 0

    def release(self, path, fh):
        os.close(fh)

    def fsync(self, path, datasync, fh):
        os.fsync(fh)

    def rename(self, old, new):
        os.rename(old, self.root + new)

    def unlink(self, path):
        os.unlink(path)

    def chmod(self, path, mode):
        os.chmod(path, mode)

    def chown(self, path, uid, gid):
        os.chown(path, uid, gid)

    def utimens(self, path, times=None):
        os.utime(path, times)

    def statfs(self, path):
        found = os.statvfs(path)
        return {name: getattr(found, name) for name in (
            "f_bavail", "f_bfree", "f_blocks", "f_bsize", "f_files", "f_ffree", "f_namemax")}


if __name__ == "__main__":
    # Without hard_remove, libfuse makes two renames of one over an open file.
    fusepy.FUSE(FailingFileSystem(sys.argv[1], sys.argv[2] + ".plan"), sys.argv[2], foreground=True,
                nothreads=True, hard_remove="--hard-remove" in sys.argv)
