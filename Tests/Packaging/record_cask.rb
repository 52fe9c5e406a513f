# Prints a Homebrew cask's stanzas, one a line, as JSON: record_cask.rb FILE.rb
# A stanza without arguments is asked for its value, as Homebrew's own language has it.
require "json"

HOMEBREW_PREFIX = "/opt/homebrew"

class Cask
  attr_reader :stanzas

  def initialize
    @stanzas = []
    @values = {}
  end

  def respond_to_missing?(*)
    true
  end

  def method_missing(name, *arguments)
    return @values.fetch(name) if arguments.empty?

    @values[name] = arguments.first
    @stanzas << [name, *arguments]
  end
end

def cask(token, &stanzas)
  recorded = Cask.new
  recorded.appdir "/Applications"
  recorded.instance_eval(&stanzas)
  recorded.stanzas.unshift([:cask, token]).each { |stanza| puts JSON.generate(stanza) }
end

load ARGV.fetch(0)
