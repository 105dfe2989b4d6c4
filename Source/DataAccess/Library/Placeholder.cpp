// Removed as soon as the folder has code of its own.
