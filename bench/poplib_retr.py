# The plain download the cycle is measured against: log in, RETR every
# message, write each to its own file, QUIT. Nothing is parsed or judged.
#   poplib_retr.py HOST PORT USER PASSWORD FOLDER
import os
import poplib
import sys

host, port, user, password, folder = sys.argv[1:6]
pop = poplib.POP3(host, int(port))
pop.user(user)
pop.pass_(password)
count, _ = pop.stat()
for n in range(1, count + 1):
    _, lines, _ = pop.retr(n)
    with open(os.path.join(folder, "%d.eml" % n), "wb") as f:
        f.write(b"\r\n".join(lines) + b"\r\n")
pop.quit()
