#!/usr/bin/env bash
# A throwaway MariaDB server for the tests: its own data folder, a unix
# socket, no network, no system service, root without a password.
#
#   scripts/mariadb-test-server.sh start DIR   # prints "socket=DIR/sock" and "pid=N"
#   scripts/mariadb-test-server.sh stop DIR    # stops the server started in DIR
#
# The server is stopped by the pid it wrote in DIR, never by process name,
# so other servers on the machine are left alone.
set -euo pipefail

usage() {
  echo "usage: $0 start|stop DIR" >&2
  exit 2
}

[[ $# -eq 2 ]] || usage
action=$1
dir=$2

find_program() {
  local name
  for name in "$@"; do
    if command -v "$name" >/dev/null 2>&1; then command -v "$name"; return 0; fi
    for prefix in /usr/sbin /usr/local/sbin /usr/bin; do
      if [[ -x "$prefix/$name" ]]; then echo "$prefix/$name"; return 0; fi
    done
  done
  echo "mariadb-test-server: none of $* found (scripts/install-deps.sh installs the server)" >&2
  return 1
}

# The pid the server wrote, or nothing.
server_pid() {
  [[ -s "$dir/pid" ]] && tr -d '[:space:]' <"$dir/pid"
}

start() {
  mkdir -p "$dir"
  dir=$(cd "$dir" && pwd)
  local install_db server client
  install_db=$(find_program mariadb-install-db mysql_install_db)
  server=$(find_program mariadbd mysqld)
  client=$(find_program mariadb-admin mysqladmin)

  # The server refuses to run as root unless told to.
  local user_opt=()
  [[ $(id -u) -eq 0 ]] && user_opt=(--user=root)

  if [[ ! -d "$dir/data/mysql" ]]; then
    "$install_db" --no-defaults --datadir="$dir/data" "${user_opt[@]}" \
      --auth-root-authentication-method=normal --skip-test-db >"$dir/install.log" 2>&1 || {
      echo "mariadb-test-server: mariadb-install-db failed; see $dir/install.log" >&2
      tail -n 20 "$dir/install.log" >&2
      exit 1
    }
  fi

  # Unix socket paths are limited to about 107 bytes.
  local sock="$dir/sock"
  if ((${#sock} > 100)); then
    echo "mariadb-test-server: socket path too long: $sock" >&2
    exit 1
  fi

  rm -f "$dir/pid"
  # Its own temp folder: a cleaner of the shared /tmp must not take the
  # server's internal temporary tables from under it.
  mkdir -p "$dir/tmp"
  "$server" --no-defaults --datadir="$dir/data" --socket="$sock" --skip-networking \
    "${user_opt[@]}" --pid-file="$dir/pid" --log-error="$dir/err" --tmpdir="$dir/tmp" \
    --innodb-buffer-pool-size=32M --innodb-log-file-size=16M \
    --skip-log-bin --character-set-server=utf8mb4 --collation-server=utf8mb4_general_ci \
    </dev/null >/dev/null 2>&1 &
  local launched=$!
  disown "$launched" 2>/dev/null || true

  # Ready when the socket answers a ping; give up after about 30 s.
  local i
  for ((i = 0; i < 300; i++)); do
    if "$client" --no-defaults --socket="$sock" --user=root --connect-timeout=1 ping >/dev/null 2>&1; then
      echo "socket=$sock"
      echo "pid=$(server_pid || echo "$launched")"
      return 0
    fi
    if ! kill -0 "$launched" 2>/dev/null; then
      echo "mariadb-test-server: the server exited; see $dir/err" >&2
      tail -n 20 "$dir/err" >&2 || true
      exit 1
    fi
    sleep 0.1
  done
  echo "mariadb-test-server: the server did not answer within 30 s; see $dir/err" >&2
  kill "$launched" 2>/dev/null || true
  exit 1
}

stop() {
  local pid
  pid=$(server_pid || true)
  if [[ -z "$pid" ]]; then
    echo "mariadb-test-server: no server running in $dir" >&2
    return 0
  fi
  kill "$pid" 2>/dev/null || true
  # Wait for it to exit; it removes its pid file as it does.
  local i
  for ((i = 0; i < 300; i++)); do
    kill -0 "$pid" 2>/dev/null || { rm -f "$dir/pid"; return 0; }
    sleep 0.1
  done
  echo "mariadb-test-server: server $pid did not stop within 30 s" >&2
  exit 1
}

case "$action" in
  start) start ;;
  stop) stop ;;
  *) usage ;;
esac
