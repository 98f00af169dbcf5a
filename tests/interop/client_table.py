"""The table "Clients that were tried" in docs/server.md against what the tests have tried: a row for each client that a test
names, and no row of a door that none of its tests names. A row is added here by a call of `tried` and there by a line."""
import pathlib

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs/server.md"


class ClientTable:
    def __init__(self, door):
        """The rows whose second cell begins with `door`."""
        lines = PAGE.read_text().split("## Clients that were tried")[1].splitlines()
        rows = [[cell.strip() for cell in line.split("|")[1:4]] for line in lines if line.startswith("|")]
        self.due = [row for row in rows if row[1].startswith(door)]

    def tried(self, client, door, what):
        """The page has one such row; its second and third cell may say more after these words. Returns a line for the log."""
        found = [row for row in self.due if row[0] == client and row[1].startswith(door) and row[2].startswith(what)]
        assert len(found) == 1, f"{PAGE.name} has {len(found)} rows, not one, for | {client} | {door} | {what} |"
        self.due.remove(found[0])
        return f"ok: {client}, by {door}: {what}"

    def finish(self):
        """Called at the end, if no client was skipped."""
        assert not self.due, f"{PAGE.name} has rows that no test makes: {self.due}"
