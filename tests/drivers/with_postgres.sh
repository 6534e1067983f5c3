#!/usr/bin/env bash
# with_postgres.sh FOLDER COMMAND...: runs COMMAND against a throwaway
# PostgreSQL server in FOLDER, listening only on a Unix socket there (no
# TCP port), with KOSHR_TEST_CONNECT naming it through the PostgreSQL ODBC
# driver. The server runs as a non-root user when we are root, and is
# stopped however COMMAND ends.
set -euo pipefail
folder=$(realpath -m "$1")
shift
bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)
if [[ -z "$bin" ]]; then
  echo "with_postgres: no PostgreSQL server binaries under /usr/lib/postgresql" >&2
  exit 1
fi
rm -rf "$folder"
mkdir -p "$folder"
as_owner=()
if [[ $(id -u) -eq 0 ]]; then
  chown nobody "$folder"
  as_owner=(runuser -u nobody --)
  # A checkout in a folder only root may enter (a home of mode 700): the
  # server then lives in a temporary folder the user can reach.
  if ! "${as_owner[@]}" test -w "$folder"; then
    rm -rf "$folder"
    folder=$(mktemp -d /tmp/koshr-postgres.XXXXXX)
    chown nobody "$folder"
    trap 'rm -rf "$folder"' EXIT
  fi
fi
"${as_owner[@]}" "$bin/initdb" -D "$folder/data" -U postgres -A trust -E UTF8 --no-locale \
  >"$folder/initdb.log" 2>&1 || { cat "$folder/initdb.log" >&2; exit 1; }
stop() {
  "${as_owner[@]}" "$bin/pg_ctl" -D "$folder/data" -m immediate stop >/dev/null 2>&1 || true
}
trap 'stop; [[ "$folder" == /tmp/koshr-postgres.* ]] && rm -rf "$folder"; true' EXIT
"${as_owner[@]}" "$bin/pg_ctl" -D "$folder/data" -l "$folder/server.log" -w \
  -o "-c listen_addresses='' -c unix_socket_directories='$folder' -c port=5432 -c fsync=off" \
  start >/dev/null || { cat "$folder/server.log" >&2; exit 1; }
# For sanitizer builds: what the PostgreSQL ODBC driver leaks is its own.
here=$(dirname "$(realpath "$0")")
export LSAN_OPTIONS="suppressions=$here/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}"
KOSHR_TEST_CONNECT="Driver=PostgreSQL Unicode;Servername=$folder;Port=5432"
export KOSHR_TEST_CONNECT="$KOSHR_TEST_CONNECT;Database=postgres;Username=postgres"
"$@"
