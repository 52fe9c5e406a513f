"""What lies in a bundle, for comparing it with what lay there before, or elsewhere."""

import os
import stat


def content(path):
    if path.is_symlink():
        return os.readlink(path)
    return path.read_bytes() if path.is_file() else None


def snapshot(folder):
    """Kind and mode, and the bytes or the target, of everything below a folder, or of a single file."""
    paths = [folder, *sorted(folder.rglob("*"))] if os.path.lexists(folder) else []
    return {str(path.relative_to(folder)): (stat.filemode(path.lstat().st_mode), content(path))
            for path in paths}
