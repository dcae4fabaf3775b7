"""The one kind of failure a user of these tools may see."""


class ModelError(Exception):
    """A file or a setting is not what it must be. The text is one line and names the file."""
