# SPDX-License-Identifier: MIT
# Completion of velmora for fish.

function __velmora_logins
    velmora accounts --json 2>/dev/null | string match --all --regex --groups-only '"login":"([A-Za-z0-9_-]+)"'
end

# The words of the command before the cursor, without options.
function __velmora_command
    set --local words (commandline --tokenize --cut-at-cursor --current-process)
    string match --invert -- '-*' $words[2..]
end

function __velmora_needs_command
    test (count (__velmora_command)) -eq 0
end

function __velmora_in_command
    set --local words (__velmora_command)
    test "$words[1]" = "$argv[1]"
end

function __velmora_accounts_words
    set --local words (__velmora_command)
    test "$words" = "$argv"
end

complete --command velmora --no-files
complete --command velmora --short-option h --long-option help --description 'Show help and exit'
complete --command velmora --long-option version --description 'Show the version and exit'
complete --command velmora --long-option demo --description 'Watch a made-up GitHub on this machine'
complete --command velmora --long-option verbose --description 'Tell on standard error what is being done'
complete --command velmora --condition __velmora_needs_command --long-option background \
    --description 'Start quietly into the tray, as at login'

complete --command velmora --condition __velmora_needs_command --arguments connect --description 'Connect a GitHub account'
complete --command velmora --condition __velmora_needs_command --arguments accounts \
    --description 'List the connected accounts'
complete --command velmora --condition __velmora_needs_command --arguments installations \
    --description 'List where the App is installed, and switch that'
complete --command velmora --condition __velmora_needs_command --arguments repositories \
    --description 'List the repositories, and choose among them'
complete --command velmora --condition __velmora_needs_command --arguments mute \
    --description 'List the deployments of a repository without notifications'
complete --command velmora --condition __velmora_needs_command --arguments unmute \
    --description "Notify about the repository's deployments again"
complete --command velmora --condition __velmora_needs_command --arguments pause \
    --description 'Announce nothing for a while'
complete --command velmora --condition __velmora_needs_command --arguments resume \
    --description 'Announce results again, and sum up what failed meanwhile'
complete --command velmora --condition __velmora_needs_command --arguments notifications \
    --description 'List what Velmora notifies about, and switch that'
complete --command velmora --condition __velmora_needs_command --arguments failures \
    --description 'List the failures, and choose which of them count'
complete --command velmora --condition __velmora_needs_command --arguments environments \
    --description 'List the environments, and choose what becomes of them'
complete --command velmora --condition __velmora_needs_command --arguments watch --description 'Watch the deployments'
complete --command velmora --condition __velmora_needs_command --arguments wait \
    --description 'Wait for the deployment that comes next, or is under way'
complete --command velmora --condition __velmora_needs_command --arguments status \
    --description 'Show how things stand, without asking GitHub'
complete --command velmora --condition __velmora_needs_command --arguments refresh \
    --description 'Load everything from GitHub now'
complete --command velmora --condition __velmora_needs_command --arguments show \
    --description 'Open the window, starting Velmora where it does not run'
complete --command velmora --condition __velmora_needs_command --arguments settings \
    --description 'Open the settings, starting Velmora where it does not run'
complete --command velmora --condition __velmora_needs_command --arguments quit --description 'End the Velmora that runs in the tray'
complete --command velmora --condition __velmora_needs_command --arguments diagnose \
    --description 'Show what a bug report needs, without secrets and names'

complete --command velmora --condition '__velmora_accounts_words accounts' --arguments remove \
    --description 'Forget an account and its token'
complete --command velmora --condition '__velmora_accounts_words accounts remove' --arguments '(__velmora_logins)'

complete --command velmora --condition '__velmora_accounts_words accounts' --long-option json \
    --description 'Print JSON instead of text'
for command in installations repositories mute unmute pause resume notifications failures environments watch wait status
    complete --command velmora --condition "__velmora_in_command $command" --long-option json \
        --description 'Print JSON instead of text'
end

# Not completed: keys and names come from GitHub, which is too slow for completion.
complete --command velmora --condition '__velmora_in_command installations' --long-option enable --exclusive \
    --description 'Watch this installation'
complete --command velmora --condition '__velmora_in_command installations' --long-option disable --exclusive \
    --description 'Do not watch this installation'

complete --command velmora --condition '__velmora_accounts_words pause' --arguments until \
    --description 'Until the clock shows a time'

complete --command velmora --condition '__velmora_in_command mute' --long-option for --exclusive \
    --description 'Only for this long'

complete --command velmora --condition '__velmora_in_command repositories' --long-option include --exclusive \
    --description 'Watch this repository'
complete --command velmora --condition '__velmora_in_command repositories' --long-option exclude --exclusive \
    --description 'Do not watch this repository'
complete --command velmora --condition '__velmora_in_command repositories' --long-option all \
    --description 'Watch every repository'
complete --command velmora --condition '__velmora_in_command repositories' --long-option none \
    --description 'Watch no repository'
complete --command velmora --condition '__velmora_in_command repositories' --long-option refresh \
    --description 'Load the list from GitHub'

complete --command velmora --condition '__velmora_in_command notifications' --long-option enable --exclusive \
    --arguments 'failures successes approvals' --description 'Notify about these'
complete --command velmora --condition '__velmora_in_command notifications' --long-option disable --exclusive \
    --arguments 'failures successes approvals' --description 'Do not notify about these'
complete --command velmora --condition '__velmora_in_command notifications' --long-option everybody \
    --description 'Notify about everybody\'s deployments'
complete --command velmora --condition '__velmora_in_command notifications' --long-option mine \
    --description 'Notify only about deployments that you started'

complete --command velmora --condition '__velmora_in_command failures' --long-option dismiss --exclusive \
    --description 'Do not count this failure'
complete --command velmora --condition '__velmora_in_command failures' --long-option restore --exclusive \
    --description 'Count this failure again'
complete --command velmora --condition '__velmora_in_command failures' --long-option dismiss-all \
    --description 'Count no failure'
complete --command velmora --condition '__velmora_in_command failures' --long-option restore-all \
    --description 'Count every failure'
complete --command velmora --condition '__velmora_in_command failures' --long-option ignore-mended \
    --description 'Mended failures no longer count'
complete --command velmora --condition '__velmora_in_command failures' --long-option count-mended \
    --description 'Mended failures count'

complete --command velmora --condition '__velmora_in_command environments' --long-option notify --exclusive \
    --description 'Notify about this environment'
complete --command velmora --condition '__velmora_in_command environments' --long-option show --exclusive \
    --description 'List it without notifications'
complete --command velmora --condition '__velmora_in_command environments' --long-option hide --exclusive \
    --description 'Neither list it nor notify about it'
complete --command velmora --condition '__velmora_in_command environments' --long-option only-production \
    --description 'Of what is not named, notify only about production'
complete --command velmora --condition '__velmora_in_command environments' --long-option every \
    --description 'Notify about every environment that is not named'

complete --command velmora --condition '__velmora_in_command watch' --long-option once \
    --description 'End after the first complete refresh'
complete --command velmora --condition '__velmora_in_command watch' --long-option quiet \
    --description 'Post no desktop notifications'

complete --command velmora --condition '__velmora_in_command wait' --long-option environment --exclusive \
    --description 'Only a deployment to this environment'
complete --command velmora --condition '__velmora_in_command wait' --long-option commit --exclusive \
    --description 'Only a deployment of this commit, even one that has ended'
complete --command velmora --condition '__velmora_in_command wait' --long-option timeout --exclusive \
    --description 'Wait no longer than this'

complete --command velmora --condition '__velmora_in_command status' --long-option format --exclusive \
    --arguments waybar --description 'Print one line for a bar'
complete --command velmora --condition '__velmora_in_command status' --long-option follow \
    --description 'Go on, with a line for every change'
