# A function for bash and zsh: asks on the phone, and runs the command if it is approved.
#
#   . with-approval.sh
#   with-approval rsync -a --delete src/ host:/srv/
#
# Ends with what the command ends with; with what `quillard ask` ended with when it is not run.
with-approval() {
  if [ $# -eq 0 ]; then
    echo 'usage: with-approval COMMAND [ARGUMENT...]' >&2
    return 2
  fi
  quillard ask --line "$*" --button Run --button Cancel --default-on-timeout Cancel --fallback terminal \
    -- "Run ${1##*/}?" >/dev/null || return
  "$@"
}
